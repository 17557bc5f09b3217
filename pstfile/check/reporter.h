// Counts findings, holds back the flood, and builds their messages.
#pragma once

#include <algorithm>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

#include "pstfile/check/finding_codes.h"
#include "pstfile/check/integrity_checker.h"
#include "pstfile/ndb/ids.h"

namespace parvane::pstfile::check {

// An integer to be shown in hexadecimal.
struct Hex {
  std::uint64_t value;
};

namespace detail {
inline void AppendPart(std::string& out, std::string_view text) { out += text; }
inline void AppendPart(std::string& out, Hex hex) { out += ToHex(hex.value); }
inline void AppendPart(std::string& out, NodeId nid) { out += ToHex(nid.value); }
inline void AppendPart(std::string& out, BlockId bid) { out += ToHex(bid.value); }
inline void AppendPart(std::string& out, std::integral auto number) {
  out += std::to_string(number);
}
}  // namespace detail

// Text, ids and numbers run together; plain integers come out decimal.
template <typename... Parts>
std::string Say(const Parts&... parts) {
  std::string out;
  (detail::AppendPart(out, parts), ...);
  return out;
}

class Reporter {
 public:
  Reporter(const CheckOptions& options, FindingSink& sink, CheckSummary& summary)
      : _options(options), _sink(sink), _summary(summary) {}

  // Whether the file bears the marks of Outlook; before it is known, it is taken for a new one.
  void SetForeign(bool foreign) { _foreign = foreign; }
  bool foreign() const { return _foreign; }
  const CheckOptions& options() const { return _options; }
  CheckSummary& summary() { return _summary; }

  // For those who watch: the blocks come first and are half of the work, the nodes the other half.
  void BlockExamined(std::size_t size) {
    _sink.OnProgress((_bytesExamined += size) / 2, _summary.fileSize);
  }
  void NodeExamined() {
    const std::uint64_t nodes = std::max<std::uint64_t>(_summary.nodes, 1);
    const double part =
        static_cast<double>(std::min(++_nodesExamined, nodes)) / static_cast<double>(nodes);
    const double half = static_cast<double>(_summary.fileSize) / 2;
    _sink.OnProgress(static_cast<std::uint64_t>(half * (1 + part)), _summary.fileSize);
  }

  void Report(Severity severity, codes::Code code, std::string message);
  void Error(codes::Code code, std::string message) {
    Report(Severity::kError, code, std::move(message));
  }
  void Warning(codes::Code code, std::string message) {
    Report(Severity::kWarning, code, std::move(message));
  }
  // What Outlook is known to leave behind: a warning in a new file, a note in one of Outlook's.
  void Habit(codes::Code code, std::string message) {
    Report(_foreign ? Severity::kNote : Severity::kWarning, code, std::move(message));
  }
  // What an interrupted writer leaves; `severity` for those who expect none.
  void Unclosed(codes::Code code, std::string message, Severity severity = Severity::kWarning) {
    Report(_options.acceptUnclosed ? Severity::kNote : severity, code, std::move(message));
  }
  // Whether a further finding of this code would still be delivered; guards the search for
  // culprits.
  bool Wants(codes::Code code) const;

 private:
  const CheckOptions& _options;
  FindingSink& _sink;
  CheckSummary& _summary;
  bool _foreign = false;
  std::uint64_t _bytesExamined = 0;
  std::uint64_t _nodesExamined = 0;
};

}  // namespace parvane::pstfile::check
