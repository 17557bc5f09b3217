#include "pstfile/store/value_writer.h"

#include <algorithm>
#include <vector>

#include "pstfile/ndb/little_endian.h"
#include "pstfile/store/value_writer_state.h"

namespace parvane::pstfile {

using platform::Result;
using platform::Status;
using platform::StatusCode;

namespace {
// Sizes are signed 32-bit properties.
constexpr std::uint64_t kMaxValueSize = 0x7FFFFFFF;
constexpr std::size_t kTextPiece = 4096;  // units

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

Status ValueWriter::State::PutText(std::u16string_view text) {
  std::vector<std::byte> bytes;
  while (!text.empty()) {
    const std::u16string_view piece = text.substr(0, kTextPiece);
    text.remove_prefix(piece.size());
    bytes.resize(2 * piece.size() + 2);
    std::size_t at = 0;
    const auto put = [&](char16_t unit) {
      StoreU16(bytes, at, unit);
      at += 2;
    };
    for (const char16_t unit : piece) {
      if (pendingHigh != 0) {
        put(IsLow(unit) ? pendingHigh : char16_t{0xFFFD});
        const bool paired = IsLow(unit);
        pendingHigh = 0;
        if (paired) {
          put(unit);
          continue;
        }
      }
      if (IsHigh(unit)) {
        pendingHigh = unit;
      } else {
        put(IsLow(unit) ? char16_t{0xFFFD} : unit);
      }
    }
    if (Status status = writer.Append(std::span(bytes).first(at)); !status.ok()) {
      return Report(status);
    }
  }
  return {};
}

Status ValueWriter::Append(std::span<const std::byte> bytes) {
  State& s = *_state;
  if (size() + bytes.size() > kMaxValueSize) {
    return {StatusCode::kTooBig, "a value of 2 GiB or more"};
  }
  if (s.kind == Kind::kBytes) return s.Report(s.writer.Append(bytes));
  if (s.pendingByte && !bytes.empty()) {
    const auto unit = static_cast<char16_t>(std::to_integer<unsigned>(*s.pendingByte) |
                                            (std::to_integer<unsigned>(bytes[0]) << 8));
    s.pendingByte.reset();
    bytes = bytes.subspan(1);
    if (Status status = s.PutText({&unit, 1}); !status.ok()) return status;
  }
  if (bytes.size() % 2 != 0) {
    s.pendingByte = bytes.back();
    bytes = bytes.first(bytes.size() - 1);
  }
  for (std::size_t at = 0; at < bytes.size(); at += 2 * kTextPiece) {
    const auto piece = bytes.subspan(at, std::min(2 * kTextPiece, bytes.size() - at));
    if (Status status = s.PutText(DecodeText(piece)); !status.ok()) return status;
  }
  return {};
}

Status ValueWriter::AppendText(std::u16string_view text) {
  State& s = *_state;
  if (size() + 2 * text.size() > kMaxValueSize) {
    return {StatusCode::kTooBig, "a value of 2 GiB or more"};
  }
  if (s.kind != Kind::kText || s.pendingByte) {
    std::vector<std::byte> bytes;
    pstfile::AppendText(text, bytes);
    return Append(bytes);
  }
  return s.PutText(text);
}

Result<StoredValue> ValueWriter::Finish() {
  State& s = *_state;
  if (s.pendingHigh != 0) {
    s.pendingHigh = 0;
    const char16_t replacement = 0xFFFD;
    if (Status status = s.PutText({&replacement, 1}); !status.ok()) return status;
  }
  s.pendingByte.reset();
  const std::uint64_t size = s.writer.size();
  auto root = s.writer.Finish();
  if (!root.ok()) return s.Report(root.status());
  return StoredValue{*root, size};
}

}  // namespace parvane::pstfile
