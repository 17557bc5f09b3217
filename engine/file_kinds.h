// What the name of a file says about mail in it.
#pragma once

#include <string>
#include <string_view>

namespace parvane::engine {

// Without regard to case; with its dot, as in ".mbox".
bool HasExtension(std::u16string_view path, std::u16string_view extension);
// One message in a file of its own, or what stands beside messages in files named by numbers.
bool IsNamedLikeAMessage(std::u16string_view path);
// Mail as other programs keep it in forms that are not read: Outlook's, Outlook Express', Notes'.
bool IsNamedLikeForeignMail(std::u16string_view path);
// A folder that is a mailbox, as Macs have them: "NAME.mbox", "NAME.imapmbox".
bool IsMailboxFolder(std::u16string_view name);
// The name of what a path leads to, "." and ".." included.
std::u16string NameOfSource(std::u16string_view path);
// A compressed file or an archive.
bool IsNamedLikeAnArchive(std::u16string_view path);

}  // namespace parvane::engine
