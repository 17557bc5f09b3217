// What is said about a word that is not known, and the known one nearest to it.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace parvane::desk {

// "there is no option --apend; did you mean --append?" Nothing is suggested that needs more changes
// (a letter wrong, missing, too many, or in its neighbour's place) than one for three letters.
std::string NoSuch(std::string_view noun, std::string_view word,
                   std::span<const std::string> known);

// The few that are near such a word, the nearest first; letter case makes no difference.
std::vector<std::string> NearOnes(std::string_view word, std::span<const std::string> known);

}  // namespace parvane::desk
