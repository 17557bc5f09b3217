// How directories hold messages that have files of their own.
#pragma once

#include <cstdint>
#include <string_view>
#include <vector>

#include "platform/file.h"

namespace parvane::engine {

enum class MessageLayout {
  kNone,
  kMaildir,  // in its folders "cur" and "new"
  kMh,       // files named by numbers
  kLetters,  // files with the extension ".eml"
};

// Of the directory itself, not of those in it; `entries` are what it holds. Opens some files where
// names alone do not tell.
MessageLayout LayoutOf(std::u16string_view directory,
                       const std::vector<platform::DirectoryEntry>& entries);

// Whether a file is a message of a directory of letters.
bool IsLetter(const platform::DirectoryEntry& entry);
// Whether what a file begins with is a message's header, at its first line.
bool BeginsLikeMessage(std::string_view text);
// The number that an MH message's file is named by; 0: it is none.
std::uint32_t MhNumber(std::u16string_view name);
inline constexpr std::u16string_view kMhSequences = u".mh_sequences";

}  // namespace parvane::engine
