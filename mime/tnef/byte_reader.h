// Little-endian numbers and blocks, taken off the front of bytes that may end anywhere.
#pragma once

#include <concepts>
#include <cstddef>
#include <string_view>

namespace parvane::tnef {

class ByteReader {
 public:
  explicit ByteReader(std::string_view bytes) : _rest(bytes) {}

  // False, and nothing is taken, when there are fewer bytes.
  bool Take(std::size_t count, std::string_view& block) {
    if (count > _rest.size()) return false;
    block = _rest.substr(0, count);
    _rest.remove_prefix(count);
    return true;
  }

  template <std::unsigned_integral Number>
  bool Take(Number& number) {
    std::string_view bytes;
    if (!Take(sizeof(Number), bytes)) return false;
    number = 0;
    for (std::size_t i = 0; i < sizeof(Number); ++i) {
      number = static_cast<Number>(
          number | static_cast<Number>(static_cast<Number>(static_cast<unsigned char>(bytes[i]))
                                       << (8 * i)));
    }
    return true;
  }

  std::string_view rest() const { return _rest; }

 private:
  std::string_view _rest;
};

}  // namespace parvane::tnef
