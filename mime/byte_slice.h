// Shared, immutable bytes: how message text travels from the file to the last getter.
//
// A slice keeps the buffer it looks into alive. Copying one, or taking a part of one, copies no
// byte; the buffer is freed with its last slice.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>
#include <utility>

namespace Tessary {

class ByteSlice {
 public:
  ByteSlice() = default;

  static ByteSlice Copy(std::string_view bytes) { return Adopt(std::string(bytes)); }

  // Takes over a container of bytes (std::string, std::vector of a byte type) without copying.
  template <typename Container>
  static ByteSlice Adopt(Container bytes) {
    static_assert(sizeof(typename Container::value_type) == 1);
    auto owner = std::make_shared<const Container>(std::move(bytes));
    const std::string_view view(reinterpret_cast<const char*>(owner->data()), owner->size());
    return ByteSlice(std::move(owner), view);
  }

  // A view of bytes that `owner` holds, which must not change while a slice of them is about.
  static ByteSlice Share(std::shared_ptr<const void> owner, std::string_view bytes) {
    return ByteSlice(std::move(owner), bytes);
  }

  // `part` must lie within this slice's buffer.
  ByteSlice Part(std::string_view part) const { return ByteSlice(_owner, part); }

  std::string_view view() const { return _view; }
  const char* data() const { return _view.data(); }
  std::size_t size() const { return _view.size(); }
  bool empty() const { return _view.empty(); }

 private:
  ByteSlice(std::shared_ptr<const void> owner, std::string_view view)
      : _owner(std::move(owner)), _view(view) {}

  std::shared_ptr<const void> _owner;
  std::string_view _view;
};

}  // namespace Tessary
