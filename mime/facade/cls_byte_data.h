// The bytes behind a TsByteData: shared until they are changed.
#pragma once

#include <memory>
#include <string>

#include "mime/byte_slice.h"

namespace Tessary {

class ClsByteData {
 public:
  ClsByteData() = default;
  ClsByteData(const ClsByteData& other) : utf8Flag(other.utf8Flag), _shared(other.Slice()) {}
  ClsByteData& operator=(const ClsByteData& other) {
    utf8Flag = other.utf8Flag;
    Set(other.Slice());
    return *this;
  }

  void Set(ByteSlice bytes) {
    _own.clear();
    _shared = std::move(bytes);
  }
  void Append(std::string_view bytes) {
    if (!_shared.empty()) {
      _own.assign(_shared.view());
      _shared = {};
    }
    _own.append(bytes);
  }
  std::string_view View() const { return _own.empty() ? _shared.view() : std::string_view(_own); }
  // Shares the bytes from now on.
  ByteSlice Slice() const {
    if (!_own.empty()) _shared = ByteSlice::Adopt(std::move(_own));
    _own.clear();
    return _shared;
  }

  bool utf8Flag = false;

 private:
  // At most one of the two holds bytes.
  mutable ByteSlice _shared;
  mutable std::string _own;
};

}  // namespace Tessary
