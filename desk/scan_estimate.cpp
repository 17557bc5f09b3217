#include "desk/scan_estimate.h"

namespace parvane::desk {
namespace {

// Bytes of a PST. Its tables, and a folder's.
constexpr double kEmpty = 30'000;
constexpr double kFolder = 4'000;
constexpr double kMessage = 1'590;
constexpr double kRecipient = 515;
// Of each byte of mail.
constexpr double kHeader = 2.65;
constexpr double kText = 1.77;
constexpr double kHtml = 1.02;
constexpr double kEncoded = 0.75;
// A PST grows by what one allocation page maps, from the first such page on ([MS-PST] 2.2.2.7.2).
constexpr std::uint64_t kSection = 253'952;
constexpr std::uint64_t kFirstSection = 17'408;

constexpr double kWrittenPerMillisecond = 400'000;
constexpr double kMessagesPerMillisecond = 300;

double Weigh(std::uint64_t count, double weight) { return static_cast<double>(count) * weight; }

}  // namespace

void ScanEstimate::Add(const carry::MailMakeup& mail) {
  ++_messages;
  _mail.header += mail.header;
  _mail.text += mail.text;
  _mail.html += mail.html;
  _mail.encoded += mail.encoded;
  _mail.recipients += mail.recipients;
}

std::uint64_t ScanEstimate::PstBytes() const {
  const double content = kEmpty + Weigh(_folders, kFolder) + Weigh(_messages, kMessage) +
                         Weigh(_mail.recipients, kRecipient) + Weigh(_mail.header, kHeader) +
                         Weigh(_mail.text, kText) + Weigh(_mail.html, kHtml) +
                         Weigh(_mail.encoded, kEncoded);
  const std::uint64_t sections = static_cast<std::uint64_t>(content) / kSection + 1;
  return kFirstSection + sections * kSection;
}

std::uint64_t ScanEstimate::Milliseconds() const {
  return _readingMilliseconds +
         static_cast<std::uint64_t>(Weigh(PstBytes(), 1 / kWrittenPerMillisecond) +
                                    Weigh(_messages, 1 / kMessagesPerMillisecond));
}

}  // namespace parvane::desk
