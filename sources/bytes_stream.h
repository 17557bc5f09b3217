// A small read-only stream over a block of memory that it does not own.
#pragma once

#include <cstdint>

enum class RelativeToPosition : std::int32_t {
  kStart = 0,
  kForward = 1,   // from the current position
  kBackward = 2,  // from the current position
  kEnd = 3,       // back from the end
};

class IBytesStream {
 public:
  virtual ~IBytesStream() = default;
  virtual void open() = 0;
  virtual void close() = 0;
  // Copies up to `count` bytes from the position on; the count copied. The position stays where
  // it is: callers move it with seek.
  virtual std::uint64_t read(void* buffer, std::uint64_t count) = 0;
  virtual bool seek(std::uint64_t offset, RelativeToPosition origin) = 0;
};

// The bounds are asymmetric, and callers know them: a read that would go past the end stops one
// byte short of it; at the last byte nothing is read. A seek relative to the position answers
// false even when it moved; one back to exactly 0 is refused. Seeks from the start and from the
// end reach everything but the last byte.
class BytesStream : public IBytesStream {
 public:
  BytesStream(const char* data, std::uint64_t size) : _size(size), _data(data) {}

  // Null if there is no memory. Given back with CloseBytesStream.
  static IBytesStream* OpenBytesStream(const char* data, std::uint64_t size);
  static void CloseBytesStream(IBytesStream* stream);

  void open() override {}
  void close() override {}
  std::uint64_t read(void* buffer, std::uint64_t count) override;
  bool seek(std::uint64_t offset, RelativeToPosition origin) override;

 private:
  std::uint64_t _position = 0;
  std::uint64_t _size;
  const char* _data;
};
