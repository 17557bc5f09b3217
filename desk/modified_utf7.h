// Folder names as IMAP servers spell them (RFC 3501, 5.1.3), which a mail program keeps on disk as
// they came: "Entw&APw-rfe" is "Entwürfe", "R&-D" is "R&D".
//
//   name  := (printable ASCII but "&" | "&-" | shift)*
//   shift := "&" base64+ "-"      UTF-16BE in base64 with "," for "/", no padding; never text that
//                                 ASCII could have said
#pragma once

#include <string>
#include <string_view>

namespace parvane::desk {

// A name that breaks these rules anywhere was not spelled by them, and comes back as it is.
std::u16string DecodeModifiedUtf7(std::u16string_view name);

}  // namespace parvane::desk
