// The index (".msf") that stands beside a mailbox of a mail profile, as far as it tells whether the
// folder has messages.
//
// It is Mork 1.4 text: a log in which later definitions replace earlier ones.
//
//   index   := (dict | row | table | group | comment)*
//   dict    := "<" ["<(a=c)>"] cell* ">"          names of columns when marked so, else of values
//   cell    := "(" id "=" text ")" | "(" "^" id ...")"
//   row     := "[" ["-"] id [":" scope] cell* "]"
//   table   := "{" ["-"] id ":" scope ["{" ... "}"] (row | ["-"] id | "!" position)* "}"
//   group   := "@$${" id "{@" ... "@$$}" id "}@"  taken as if it always ended well
//   comment := "//" to the end of the line
//
// The messages are the rows that table 1 lists, in the scope of the name kMessageScope; "-" in
// front of a table empties it, in front of an entry takes that entry out. "\" takes the character
// behind it for text.
#pragma once

#include <string_view>

#include "platform/input_stream.h"

namespace parvane::sources {

inline constexpr std::string_view kMessageScope = "ns:msg:db:row:scope:msgs:all";

// True when the index lists messages in the end. Reads on to that end, or to kMostIndexBytes, or
// until more are listed than anybody takes out again; needs no more memory than those take.
bool IndexListsMessages(platform::InputStream& index);
inline constexpr std::uint64_t kMostIndexBytes = 64 << 20;

// The same for a file; false when it cannot be read.
bool IndexListsMessages(std::u16string_view path);

}  // namespace parvane::sources
