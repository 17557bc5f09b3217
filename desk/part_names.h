// The names of the PSTs that one conversion makes of its mail.
//
//   by size   mail.pst, mail-2.pst, mail-3.pst ...
//   by year   mail-2019.pst, mail-2020.pst ... and mail-undated.pst
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::desk {

// Of one of them; numbers count from 1.
std::u16string PartPath(std::u16string_view destination, std::size_t number);
// Year 0: of mail without a date.
std::u16string YearPath(std::u16string_view destination, unsigned year);

// How many parts by size follow one another on the disk, from the first on: finished ones.
std::size_t PartsThere(std::u16string_view destination);
// What is there under the names of the parts from `first` on, up to the first name that is free:
// finished or not.
std::vector<std::u16string> PartsBehind(std::u16string_view destination, std::size_t first);
// What is there under the names of years.
std::vector<std::u16string> YearsThere(std::u16string_view destination);

}  // namespace parvane::desk
