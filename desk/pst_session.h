// A PST opened for looking into it, through Extended MAPI as any mail program would: a profile of
// its own with one personal-folder service, a log-on, the message store.
#pragma once

#include <string>
#include <string_view>

#include "mapi/com_pointer.h"
#include "mapi/session.h"
#include "platform/status.h"

namespace parvane::desk {

class PstSession {
 public:
  enum class Access { kRead, kWrite };
  // To read it, the file must exist: a message service makes one that does not.
  static platform::Result<PstSession> Open(std::u16string_view path, Access access = Access::kRead);
  PstSession(PstSession&&) = default;
  PstSession& operator=(PstSession&&) = delete;
  // Logs off and deletes the profile.
  ~PstSession();

  mapi::IMAPISession& session() const { return *_session; }
  mapi::IMsgStore& store() const { return *_store; }
  // Null when there is none, or it cannot be opened.
  mapi::ComPointer<mapi::IMAPIFolder> OpenFolder(std::string entryId) const;
  // The folder above all folders a person sees.
  platform::Result<mapi::ComPointer<mapi::IMAPIFolder>> TopFolder() const;

 private:
  PstSession() = default;
  platform::Status LogOn(std::u16string_view path);
  platform::Status OpenStore(Access access);

  std::u16string _path;
  mapi::ComPointer<mapi::IMAPISession> _session;
  mapi::ComPointer<mapi::IMsgStore> _store;
};

// Why the last MAPI call failed, with the file's name before it. The built-in MAPI knows; of the
// system's there is only the result, when there is one.
platform::Status MapiFailure(std::u16string_view path, std::string_view otherwise,
                             mapi::HRESULT result = 0);

// A property of a row or object; null when it is not there.
const mapi::SPropValue* FindProperty(const mapi::SRow& row, mapi::ULONG tag);
std::u16string TextOf(const mapi::SPropValue* property);

}  // namespace parvane::desk
