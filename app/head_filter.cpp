#include "app/head_filter.h"

#include <algorithm>
#include <cstddef>

#include "platform/text.h"

namespace parvane::app {
namespace {

constexpr std::string_view kUnwanted[] = {"cookie:", "range:"};
constexpr std::size_t kLongest = 7;

}  // namespace

void HeadFilter::Take(std::string_view bytes, std::string& passed) {
  while (!bytes.empty()) {
    if (_at == At::kName) {
      TakeName(bytes.front(), passed);
      bytes.remove_prefix(1);
      continue;
    }
    const std::size_t end = _at == At::kBody ? bytes.npos : bytes.find('\n');
    const std::size_t count = end == bytes.npos ? bytes.size() : end + 1;
    if (_at != At::kUnwanted) passed += bytes.substr(0, count);
    bytes.remove_prefix(count);
    if (end != bytes.npos) _at = At::kName;
  }
}

void HeadFilter::TakeName(char c, std::string& passed) {
  _name += c;
  const bool unwanted = std::ranges::any_of(kUnwanted, [this](std::string_view name) {
    return platform::EqualsIgnoreAsciiCase(_name, name);
  });
  if (unwanted) {
    _at = At::kUnwanted;
  } else if (c == '\n') {
    _at = _name == "\r\n" ? At::kBody : At::kName;
    passed += _name;
  } else if (_name.size() == kLongest) {
    _at = At::kValue;
    passed += _name;
  } else {
    return;
  }
  _name.clear();
}

}  // namespace parvane::app
