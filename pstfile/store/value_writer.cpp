#include "pstfile/store/value_writer.h"

#include <array>
#include <bit>
#include <vector>

#include "platform/simd/ascii.h"
#include "pstfile/ndb/little_endian.h"
#include "pstfile/store/value_writer_state.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {
// Sizes are signed 32-bit properties.
constexpr std::uint64_t kMaxValueSize = 0x7FFFFFFF;

bool IsHigh(char16_t unit) { return (unit & 0xFC00) == 0xD800; }
bool IsLow(char16_t unit) { return (unit & 0xFC00) == 0xDC00; }
}  // namespace

ValueWriter::ValueWriter(std::unique_ptr<State> state) : _state(std::move(state)) {}
ValueWriter::ValueWriter(ValueWriter&&) noexcept = default;
ValueWriter& ValueWriter::operator=(ValueWriter&&) noexcept = default;
ValueWriter::~ValueWriter() = default;

std::uint64_t ValueWriter::size() const {
  return _state->writer.size() + (_state->pendingHigh != 0 ? 2 : 0);
}

Status ValueWriter::State::Report(Status status) {
  if (!status.ok()) onFailure(status);
  return status;
}

Status ValueWriter::State::PutUnit(char16_t unit) {
  std::array<std::byte, 2> bytes;
  StoreU16(bytes, 0, unit);
  return writer.Append(bytes);
}

// Runs of whole characters go on as they are.
Status ValueWriter::State::PutText(std::span<const std::byte> text) {
  Status status;
  while (!text.empty() && status.ok()) {
    const auto unitAt = [&text](std::size_t i) {
      return static_cast<char16_t>(LoadU16(text, 2 * i));
    };
    if (pendingHigh != 0) {
      const bool paired = IsLow(unitAt(0));
      status = PutUnit(paired ? pendingHigh : char16_t{0xFFFD});
      pendingHigh = 0;
      if (paired && status.ok()) {
        status = writer.Append(text.first(2));
        text = text.subspan(2);
      }
      continue;
    }
    const std::size_t units = text.size() / 2;
    std::size_t run = 0;
    for (;;) {
      run += platform::simd::SurrogateFreePrefix(text.data() + 2 * run, units - run);
      if (run + 1 >= units || !IsHigh(unitAt(run)) || !IsLow(unitAt(run + 1))) break;
      run += 2;
    }
    if (run > 0) status = writer.Append(text.first(2 * run));
    text = text.subspan(2 * run);
    if (text.empty() || !status.ok()) continue;
    if (IsHigh(unitAt(0))) {
      pendingHigh = unitAt(0);
    } else {
      status = PutUnit(0xFFFD);
    }
    text = text.subspan(2);
  }
  return Report(status);
}

Status ValueWriter::Append(std::span<const std::byte> bytes) {
  State& s = *_state;
  if (size() + bytes.size() > kMaxValueSize) {
    return {StatusCode::kTooBig, "a value of 2 GiB or more"};
  }
  if (s.kind == Kind::kBytes) return s.Report(s.writer.Append(bytes));
  if (s.pendingByte && !bytes.empty()) {
    const std::array<std::byte, 2> unit{*s.pendingByte, bytes[0]};
    s.pendingByte.reset();
    bytes = bytes.subspan(1);
    if (Status status = s.PutText(unit); !status.ok()) return status;
  }
  if (bytes.size() % 2 != 0) {
    s.pendingByte = bytes.back();
    bytes = bytes.first(bytes.size() - 1);
  }
  return s.PutText(bytes);
}

Status ValueWriter::AppendText(std::u16string_view text) {
  if (std::endian::native == std::endian::little && _state->kind == Kind::kText) {
    return Append(std::as_bytes(std::span(text)));
  }
  std::vector<std::byte> bytes;
  if (_state->kind == Kind::kBytes) {
    pstfile::AppendText(text, bytes);
  } else {
    bytes.resize(2 * text.size());
    for (std::size_t i = 0; i < text.size(); ++i) StoreU16(bytes, 2 * i, text[i]);
  }
  return Append(bytes);
}

Result<StoredValue> ValueWriter::Finish() {
  State& s = *_state;
  if (s.pendingHigh != 0) {
    s.pendingHigh = 0;
    if (Status status = s.Report(s.PutUnit(0xFFFD)); !status.ok()) return status;
  }
  s.pendingByte.reset();
  const std::uint64_t size = s.writer.size();
  auto root = s.writer.Finish();
  if (!root.ok()) return s.Report(root.status());
  return StoredValue{*root, size};
}

}  // namespace parvane::pstfile
