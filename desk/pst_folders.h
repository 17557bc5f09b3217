// The folders of a PST, as a walk through their tree meets them.
#pragma once

#include <string>
#include <string_view>
#include <vector>

#include "desk/pst_session.h"

namespace parvane::desk {

class PstFolderVisitor {
 public:
  virtual ~PstFolderVisitor() = default;
  // The folder at `path` below the top folder; those in it come next. False ends the walk.
  virtual bool Visit(const std::vector<std::u16string>& path, mapi::IMAPIFolder& folder) = 0;
  // A folder, or a list of folders, that cannot be read, in one line. The walk goes on.
  virtual void Unreadable(const std::string& what) = 0;
};

// Walks the whole tree. The top folder itself is visited only where there is mail in it, first, by
// its own name. Fails only when there is no way into it.
platform::Status WalkFolders(const PstSession& session, PstFolderVisitor& visitor);

// "PATH: WHAT cannot be read: WHY", as the built-in MAPI knows the reason, which is forgotten
// here: the next fault has one of its own.
std::string UnreadableText(const std::vector<std::u16string>& path, std::string_view what);

// The bytes of a binary property; empty for none.
std::string BytesOf(const mapi::SPropValue* property);
// Bytes as MAPI takes an entry id.
mapi::ENTRYID* EntryIdOf(std::string& bytes);

}  // namespace parvane::desk
