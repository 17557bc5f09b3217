// What speaks for a line that begins with "From " being the separator in front of a message.
//
//   From sender [weekday[,]] month day time [zone...] year [zone] [remote from host]
//
// is how mail programs write it, with many liberties: no sender, blanks in the sender, two blanks
// behind it, day before month, no seconds, a year of two digits, zones by name or number, in
// brackets, on either side of the year. Thunderbird writes "From " alone, at times without an empty
// line before it.
#pragma once

#include <string_view>

namespace parvane::sources {

// True when a date of that shape ends the line, which begins with "From ".
bool SeparatorHasDate(std::string_view line);

struct SeparatorSigns {
  bool afterEmptyLine = false;  // or at the start of the file
  bool dated = false;
  bool bare = false;         // nothing behind "From "
  bool beforeField = false;  // what looks like a header field stands in the next line
  bool patch = false;        // the first line of a patch: a commit's hash and a certain date

  // Two of three, a bare line counting as dated only before a field. A patch never does.
  bool Suffice() const;
  bool All() const { return !patch && afterEmptyLine && (dated || bare) && beforeField; }
};

// `next` is the line behind it; empty: there is none.
SeparatorSigns SignsOf(std::string_view line, std::string_view next, bool afterEmptyLine);

// True of a line behind which a quoted message may follow: "----- Original message -----", "Ann
// wrote:".
bool AnnouncesQuotedMail(std::string_view line);

}  // namespace parvane::sources
