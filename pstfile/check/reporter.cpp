#include "pstfile/check/reporter.h"

#include <utility>

namespace parvane::pstfile::check {

void Reporter::Report(Severity severity, codes::Code code, std::string message) {
  if (severity == Severity::kNote) {
    // Notes are delivered without a limit of their own: there are few kinds of them.
    if (_options.notes && ++_summary.notes <= _options.findingsPerCode) {
      _sink.OnFinding({severity, code, std::move(message)});
    } else if (!_options.notes) {
      ++_summary.notes;
    }
    return;
  }
  ++(severity == Severity::kError ? _summary.errors : _summary.warnings);
  auto found = _summary.counts.find(code);
  if (found == _summary.counts.end()) found = _summary.counts.emplace(std::string(code), 0).first;
  if (++found->second <= _options.findingsPerCode) {
    _sink.OnFinding({severity, code, std::move(message)});
  }
}

bool Reporter::Wants(codes::Code code) const {
  const auto found = _summary.counts.find(code);
  return found == _summary.counts.end() || found->second < _options.findingsPerCode;
}

}  // namespace parvane::pstfile::check
