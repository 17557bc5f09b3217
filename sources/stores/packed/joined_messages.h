// Finds the messages that an export has in several of its mailboxes: each is one message.
#pragma once

#include <array>
#include <cstdint>
#include <string_view>
#include <vector>

#include "mime/mime_header.h"

namespace parvane::sources {

// The message's number, as Gmail writes it into the line before it: "From 1828754568043628583@xxx
// Mon Apr 07 ..."; empty where there is none.
std::string_view NumberOfGmail(std::string_view separator);

class JoinedMessages {
 public:
  // Whether an earlier mailbox has the message, by its Message-ID, its thread and its number in the
  // line before it, as Gmail writes it. With neither of the last two, which are Gmail's own,
  // nothing is known to be the same: others send two messages under one Message-ID. Within one
  // mailbox nothing is taken for the same.
  bool IsCopy(const Tessary::MimeHeader& header, std::string_view separator, std::size_t mailbox);

 private:
  using Key = std::array<std::uint64_t, 2>;

  std::size_t _mailbox = 0;
  std::vector<Key> _here;    // of the mailbox in hand
  std::vector<Key> _before;  // of those before it, sorted
};

}  // namespace parvane::sources
