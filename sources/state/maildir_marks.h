// The marks of a Maildir's messages, which are in the names of their files.
//
//   name      := base (separator "2," letter* rest?)?
//   base      := digit+ other*            the digits are seconds since 1970: when it was delivered
//   separator := ":"                      or what stands for it on disks that allow no ":" in
//   names:
//                                         ";", "!", U+F03A, U+F022
//   letter    := D draft | F flagged | P passed on | R replied | S seen | T trashed
//              | a-z keyword number 0-25 of the folder's file "dovecot-keywords"
//
//   dovecot-keywords := (number " " keyword LF)*
//
// A name with the separator tells all six: a letter that is not there says "no".
#pragma once

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

#include "engine/message_state.h"

namespace parvane::sources {

struct MaildirName {
  std::optional<std::uint64_t> delivered;  // seconds since 1970
  bool tells = false;                      // it has the letters' place, which may be empty
  std::uint32_t flags = 0;                 // bit 0 is A
  std::uint32_t keywords = 0;              // bit 0 is a

  bool Has(char flag) const { return (flags >> (flag - 'A') & 1) != 0; }
};

MaildirName ParseMaildirName(std::u16string_view name);

// By number; empty where the file names none.
using MaildirKeywords = std::array<std::string, 26>;
MaildirKeywords ParseDovecotKeywords(std::string_view file);

// Adds what the name tells to what is known already. `isNew`: the file lies in "new", where no mail
// program has seen it yet.
void ReadMaildirMarks(const MaildirName& name, bool isNew, const MaildirKeywords& keywords,
                      const engine::StateWishes& wishes, engine::MessageState& state);

}  // namespace parvane::sources
