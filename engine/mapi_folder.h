// A destination's folder, and the folder of a PST that it stands for.
#pragma once

namespace parvane::mapi {
class IMAPIFolder;
}

namespace parvane::engine {

// Offered beside a folder's own interface; found by dynamic_cast.
class IMapiFolderHolder {
 public:
  virtual ~IMapiFolderHolder() = default;
  // The folder's own; null once it has been released.
  virtual mapi::IMAPIFolder* MapiFolder() const = 0;
};

}  // namespace parvane::engine
