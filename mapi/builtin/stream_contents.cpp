#include "mapi/builtin/stream_contents.h"

#include <algorithm>
#include <array>
#include <cstring>

#include "mapi/results.h"

namespace parvane::mapi::builtin {
namespace {

using platform::Status;
using platform::StatusCode;

// A value is in one of four states: in memory; in memory behind what a writer has taken (_writer);
// on the disk and read from there (_reader, with _finished when it is ours to give back, without
// when it is the object's own); in memory for good, because it was changed in its middle (_spills
// false). The way back from the disk into memory is Load, which what is only appended to never
// takes.
//
// Longer values leave memory as they are appended to.
constexpr std::size_t kSpillAt = 32 * 1024;
// Kept back from what is spilled: a terminator that turns out to be the value's end is not stored.
constexpr std::size_t kHeldBack = 2;
// The format's own limit.
constexpr std::uint64_t kLargestValue = (std::uint64_t{1} << 31) - 1;

bool EndsInZeros(std::span<const std::byte> bytes, std::size_t count) {
  return count != 0 && bytes.size() >= count &&
         std::all_of(bytes.end() - static_cast<std::ptrdiff_t>(count), bytes.end(),
                     [](std::byte b) { return b == std::byte{0}; });
}

}  // namespace

HRESULT StreamResultOf(const Status& status) {
  switch (status.code()) {
    case StatusCode::kOk:
      return S_OK;
    case StatusCode::kDiskFull:
    case StatusCode::kTooBig:
      return STG_E_MEDIUMFULL;
    case StatusCode::kAccessDenied:
    case StatusCode::kLocked:
      return STG_E_ACCESSDENIED;
    case StatusCode::kClosed:
    case StatusCode::kNotFound:
      return STG_E_REVERTED;
    case StatusCode::kCorrupt:
      return STG_E_READFAULT;
    default:
      return STG_E_WRITEFAULT;
  }
}

StreamContents::~StreamContents() {
  if (_finished && _core.store() != nullptr) _core.store()->Abandon(*_finished);
  _core.GiveMemory(std::move(_memory));
}

std::uint64_t StreamContents::Size() const {
  if (_reader) return _reader->size();
  return (_writer ? _writer->size() : 0) + _memory.size();
}

HRESULT StreamContents::Read(std::uint64_t offset, std::span<std::byte> out, std::size_t& read) {
  read = 0;
  // What is being written cannot be read: it is finished, and written to no more but by way of
  // Load.
  if (_writer) {
    if (const HRESULT result = FinishSpilled(); Failed(result)) return result;
  }
  if (_reader) {
    if (_core.store() == nullptr) return STG_E_REVERTED;
    const auto got = _reader->ReadAt(offset, out);
    if (!got.ok()) {
      _core.Note(got.status());
      return StreamResultOf(got.status());
    }
    read = *got;
    return S_OK;
  }
  if (offset >= _memory.size()) return S_OK;
  read = std::min<std::size_t>(out.size(), _memory.size() - offset);
  std::memcpy(out.data(), _memory.data() + offset, read);
  return S_OK;
}

HRESULT StreamContents::TooLong() {
  const Status status(StatusCode::kTooBig, "a body or attachment of 2 GiB or more");
  _core.Note(status);
  return StreamResultOf(status);
}

HRESULT StreamContents::Write(std::uint64_t offset, std::span<const std::byte> bytes) {
  if (bytes.empty()) return S_OK;
  if (offset > kLargestValue || bytes.size() > kLargestValue - offset) return TooLong();
  if (offset > Size()) {
    if (const HRESULT result = Resize(offset); Failed(result)) return result;
  }
  if (offset == Size() && !_reader) return Append(bytes);
  if (const HRESULT result = Load(); Failed(result)) return result;
  const auto start = static_cast<std::size_t>(offset);
  if (start + bytes.size() > _memory.size()) _memory.resize(start + bytes.size());
  std::memcpy(_memory.data() + start, bytes.data(), bytes.size());
  return S_OK;
}

HRESULT StreamContents::Resize(std::uint64_t size) {
  if (size > kLargestValue) return TooLong();
  if (size == Size()) return S_OK;
  if (size < Size() || _reader) {
    if (const HRESULT result = Load(); Failed(result)) return result;
    _memory.resize(static_cast<std::size_t>(size));
    return S_OK;
  }
  static constexpr std::array<std::byte, 4096> kZeros{};
  while (Size() < size) {
    const std::uint64_t left = std::min<std::uint64_t>(size - Size(), kZeros.size());
    const HRESULT result = Append(std::span(kZeros).first(static_cast<std::size_t>(left)));
    if (Failed(result)) return result;
  }
  return S_OK;
}

HRESULT StreamContents::Append(std::span<const std::byte> bytes) {
  if (_spills && _memory.size() + bytes.size() > kSpillAt) return Spill(bytes);
  if (_memory.capacity() == 0) _memory = _core.TakeMemory();
  _memory.insert(_memory.end(), bytes.begin(), bytes.end());
  return S_OK;
}

// A large piece goes straight from the caller's buffer to the file.
HRESULT StreamContents::Spill(std::span<const std::byte> bytes) {
  if (_core.store() == nullptr) return STG_E_REVERTED;
  if (!_writer) {
    using Kind = pstfile::ValueWriter::Kind;
    auto writer = _core.store()->NewValue(_isText ? Kind::kText : Kind::kBytes);
    if (!writer.ok()) {
      _core.Note(writer.status());
      return StreamResultOf(writer.status());
    }
    _writer.emplace(std::move(writer).value());
  }
  Status status;
  std::size_t kept = std::min(kHeldBack, bytes.size());
  if (bytes.size() < kHeldBack) {
    // Too short to hold back alone: it joins what memory holds.
    _memory.insert(_memory.end(), bytes.begin(), bytes.end());
    bytes = {};
    const std::size_t out = _memory.size() - std::min(kHeldBack, _memory.size());
    status = _writer->Append(std::span<const std::byte>(_memory).first(out));
    if (status.ok()) _memory.erase(_memory.begin(), _memory.begin() + std::ptrdiff_t(out));
    kept = 0;
  } else {
    status = _writer->Append(_memory);
    if (status.ok()) {
      _memory.clear();
      status = _writer->Append(bytes.first(bytes.size() - kept));
    }
  }
  if (!status.ok()) {
    _core.Note(status);
    return StreamResultOf(status);
  }
  const auto tail = bytes.last(kept);
  _memory.insert(_memory.end(), tail.begin(), tail.end());
  return S_OK;
}

HRESULT StreamContents::FinishSpilled() {
  if (_core.store() == nullptr) return STG_E_REVERTED;
  Status status = _writer->Append(_memory);
  if (status.ok()) {
    _memory.clear();
    auto stored = _writer->Finish();
    status = stored.status();
    if (status.ok()) {
      _writer.reset();
      _finished = *stored;
      auto reader = _core.store()->OpenStoredValue(*stored);
      status = reader.status();
      if (status.ok()) _reader.emplace(std::move(reader).value());
    }
  }
  if (status.ok()) return S_OK;
  _core.Note(status);
  return StreamResultOf(status);
}

HRESULT StreamContents::Load() {
  if (_writer) {
    if (const HRESULT result = FinishSpilled(); Failed(result)) return result;
  }
  _spills = false;
  if (!_reader) return S_OK;
  if (_reader->size() > kLargestValue) return TooLong();
  std::vector<std::byte> bytes(static_cast<std::size_t>(_reader->size()));
  std::size_t read = 0;
  if (const HRESULT result = Read(0, bytes, read); Failed(result)) return result;
  bytes.resize(read);
  // Only now, when all of it is here: until then the value on the disk is the only one.
  _memory = std::move(bytes);
  _reader.reset();
  if (_finished && _core.store() != nullptr) _core.store()->Abandon(*_finished);
  _finished.reset();
  return S_OK;
}

HRESULT StreamContents::DropTerminator(std::size_t terminator) {
  if (terminator == 0 || Size() < terminator) return S_OK;
  if (terminator == 2 && Size() % 2 != 0) return S_OK;
  if (_reader) {
    std::array<std::byte, kHeldBack> end{};
    std::size_t read = 0;
    const HRESULT result = Read(Size() - terminator, std::span(end).first(terminator), read);
    if (Failed(result)) return result;
    if (!EndsInZeros(std::span(end).first(read), terminator)) return S_OK;
    if (const HRESULT loaded = Load(); Failed(loaded)) return loaded;
  }
  if (EndsInZeros(_memory, terminator)) _memory.resize(_memory.size() - terminator);
  return S_OK;
}

HRESULT StreamContents::Install(StreamHost& host, ULONG tag, std::size_t terminator) {
  if (_core.store() == nullptr) return STG_E_REVERTED;
  // A value that came from the object and was not changed stays where it is.
  if (_reader && !_finished) return S_OK;
  if (const HRESULT result = DropTerminator(terminator); Failed(result)) return result;
  if (_writer) {
    if (const HRESULT result = FinishSpilled(); Failed(result)) return result;
  }
  if (_finished) {
    // On failure it stays ours, and goes with the stream.
    const HRESULT result = host.InstallStored(tag, *_finished);
    if (Succeeded(result)) _finished.reset();
    return result;
  }
  if (_memory.size() <= kSpillAt) return host.InstallBytes(tag, _memory);

  using Kind = pstfile::ValueWriter::Kind;
  auto writer = _core.store()->NewValue(_isText ? Kind::kText : Kind::kBytes);
  Status status = writer.status();
  if (status.ok()) status = writer->Append(_memory);
  if (status.ok()) {
    const auto stored = writer->Finish();
    status = stored.status();
    if (status.ok()) return host.InstallStored(tag, *stored);
  }
  _core.Note(status);
  return StreamResultOf(status);
}

}  // namespace parvane::mapi::builtin
