// An input stream over memory.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <string_view>

#include "platform/input_stream.h"

namespace parvane::platform {

class BytesInputStream final : public InputStream {
 public:
  BytesInputStream(std::string_view bytes, std::size_t step)
      : _bytes(bytes), _step(step == 0 ? bytes.size() : step) {}

  std::span<const char> Buffer() override {
    if (_window == 0) _window = std::min(_step, _bytes.size() - _position);
    return {_bytes.data() + _position, _window};
  }
  void Skip(std::size_t count) override {
    count = std::min(count, _window);
    _position += count;
    _window -= count;
  }
  std::uint64_t Position() const override { return _position; }
  const Status& status() const override { return _status; }

 private:
  std::string_view _bytes;
  std::size_t _step;
  std::size_t _position = 0;
  std::size_t _window = 0;
  Status _status;
};

// `bytes` must outlive the stream; `step` bytes at most in each buffer (0: all).
inline std::unique_ptr<InputStream> MemoryInputStream(std::string_view bytes,
                                                      std::size_t step = 0) {
  return std::make_unique<BytesInputStream>(bytes, step);
}

}  // namespace parvane::platform
