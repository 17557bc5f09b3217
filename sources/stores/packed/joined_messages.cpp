#include "sources/stores/packed/joined_messages.h"

#include <algorithm>

namespace parvane::sources {
namespace {

// FNV-1a, from two beginnings, and mixed at the end.
void Add(std::array<std::uint64_t, 2>& key, std::string_view bytes) {
  for (const char c : bytes) {
    for (std::uint64_t& half : key)
      half = (half ^ static_cast<unsigned char>(c)) * 0x00000100000001B3;
  }
  for (std::uint64_t& half : key) half ^= half >> 29;
}

std::string_view ValueOf(const Tessary::MimeHeader& header, std::string_view name) {
  const Tessary::MimeField* field = header.Find(name);
  return field == nullptr ? std::string_view() : field->RawValue();
}

}  // namespace

std::string_view NumberOfGmail(std::string_view separator) {
  constexpr std::string_view kFrom = "From ", kHost = "@xxx";
  if (!separator.starts_with(kFrom)) return {};
  separator.remove_prefix(kFrom.size());
  const std::size_t end = std::min(separator.find_first_not_of("0123456789"), separator.size());
  return separator.substr(end).starts_with(kHost) ? separator.substr(0, end) : std::string_view();
}

bool JoinedMessages::IsCopy(const Tessary::MimeHeader& header, std::string_view separator,
                            std::size_t mailbox) {
  if (mailbox != _mailbox) {
    _mailbox = mailbox;
    const auto middle = static_cast<std::ptrdiff_t>(_before.size());
    std::ranges::sort(_here);
    _before.insert(_before.end(), _here.begin(), _here.end());
    std::inplace_merge(_before.begin(), _before.begin() + middle, _before.end());
    _here.clear();
  }
  const std::string_view id = ValueOf(header, "Message-ID");
  const std::string_view thread = ValueOf(header, "X-GM-THRID");
  const std::string_view number = NumberOfGmail(separator);
  if (thread.empty() && number.empty()) return false;
  Key key = {0xCBF29CE484222325, 0x9AE16A3B2F90404F};
  for (const std::string_view part : {id, thread, number}) {
    Add(key, part);
    Add(key, "\n");
  }
  if (std::ranges::binary_search(_before, key)) return true;
  _here.push_back(key);
  return false;
}

}  // namespace parvane::sources
