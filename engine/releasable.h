// Objects that give their resources (files, MAPI references, text) back at once when told to.
#pragma once

namespace QuelmarMIMEEngineCommon {

// Release() frees what the object holds, independently of when its memory goes; releasing twice is
// harmless. After it the getters answer null or 0. Destroying an object releases it.
class Releasable {
 public:
  virtual ~Releasable() = default;
  virtual void Release() = 0;

 protected:
  Releasable() = default;
  Releasable(const Releasable&) = delete;
  Releasable& operator=(const Releasable&) = delete;
};

}  // namespace QuelmarMIMEEngineCommon
