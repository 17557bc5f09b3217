#include "pstfile/store/subject.h"

namespace parvane::pstfile {

namespace {
constexpr char16_t kMark = 1;
constexpr std::size_t kMaxPrefix = 254;
}  // namespace

std::u16string EncodeSubject(std::u16string_view subject, std::size_t prefixLength) {
  if (prefixLength > subject.size() || prefixLength > kMaxPrefix) prefixLength = 0;
  std::u16string stored{kMark, static_cast<char16_t>(prefixLength + 1)};
  stored += subject;
  return stored;
}

DecodedSubject DecodeSubject(std::u16string_view stored) {
  if (stored.size() < 2 || stored[0] != kMark) return {stored, 0};
  const std::u16string_view subject = stored.substr(2);
  const std::size_t length = stored[1] == 0 ? 0 : stored[1] - 1u;
  return {subject, length <= subject.size() ? length : 0};
}

}  // namespace parvane::pstfile
