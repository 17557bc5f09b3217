#include "sources/mbox_email_asset.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <new>
#include <span>
#include <string_view>
#include <utility>

#include "convert/conversion_report.h"
#include "convert/header_readings.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "mime/date_parser.h"
#include "mime/email_message.h"
#include "mime/facade/library_access.h"
#include "mime/facade/ts_email.h"
#include "mime/mime_message2.h"
#include "platform/file.h"
#include "platform/stage_times.h"
#include "platform/text.h"
#include "sources/message_key.h"
#include "sources/message_repair.h"
#include "sources/message_shape.h"

namespace QuelmarMIMEEngineCommon {

using parvane::engine::RemarkKind;
using parvane::platform::Status;
using Tessary::ByteSlice;
using Tessary::MimeMessage2;
using Tessary::TsEmail;

namespace {

constexpr std::string_view kDumpBanner = "\r\n----------------- ERROR DUMP ----------------\r\n";

Status AppendToDump(const NullableString& path, std::string_view message) {
  if (!path) return {parvane::platform::StatusCode::kUnsupported, "no dump file is set"};
  const std::array<std::span<const std::byte>, 2> pieces = {std::as_bytes(std::span(kDumpBanner)),
                                                            std::as_bytes(std::span(message))};
  return parvane::platform::FileSystem::Default().AppendPrivate(*path, pieces);
}

std::string InWords(const parvane::sources::AddressLoss& loss) {
  const std::string text = parvane::platform::Utf16ToUtf8(loss.text);
  if (loss.address.empty()) return text;
  return text + " (the name of " + parvane::platform::Utf16ToUtf8(loss.address) + ")";
}

std::string AndMore(std::uint64_t count) { return "and " + std::to_string(count) + " more"; }

void AddTo(parvane::engine::ConversionNotes& notes, parvane::convert::ConversionReport&& report) {
  notes.unconvertedParts.reserve(report.unconvertedParts.size());
  for (auto& part : report.unconvertedParts) {
    notes.unconvertedParts.push_back(
        {std::move(part.contentType), std::move(part.name), part.size});
  }
  notes.refusals = std::move(report.refusals);
  notes.moreUnconvertedParts = report.moreUnconvertedParts;
  notes.attachmentsWritten = report.attachmentsWritten;
  notes.attachmentsFailed = report.attachmentsFailed;
  for (const auto& removed : report.removedAttachments) {
    notes.remarks.push_back({RemarkKind::kAttachmentDetached,
                             parvane::platform::Utf16ToUtf8(removed.name),
                             removed.url.empty() ? "deleted" : "detached to " + removed.url});
  }
  if (report.moreRemovedAttachments > 0) {
    notes.remarks.push_back(
        {RemarkKind::kAttachmentDetached, {}, AndMore(report.moreRemovedAttachments)});
  }
}

// `notes` have the date as the message came with it.
void AddDate(parvane::engine::ConversionNotes& notes, const parvane::convert::DateRead& date,
             const std::string& rawText) {
  notes.dateMissing = !date.present;
  notes.dateUnreadable = date.present && date.time == parvane::platform::FileTime{};
  notes.repairedDate = date.time;
  notes.dateChangedByRepair = date.present && notes.rawDate != date.time;
  if (notes.dateChangedByRepair) notes.rawDateText = rawText;
}

}  // namespace

std::string_view MessageIdIn(const Tessary::MimeHeader& header) {
  const Tessary::MimeField* field = header.Find("Message-ID");
  if (field == nullptr) return {};
  const std::string_view line = field->Raw();
  return line.substr(line.find(':') + 1);
}

MBOXEmailAsset::MBOXEmailAsset(ByteVector mimeBytes) {
  Parse(ByteSlice::Adopt(std::move(mimeBytes)), false, nullptr, {});
}

MBOXEmailAsset::MBOXEmailAsset(const ByteSlice& message, std::shared_ptr<std::string> headerBuffer,
                               parvane::engine::SourceObserver* observer,
                               const parvane::engine::MessageLocation& location,
                               const StateReader& readState)
    : _observer(observer), _location(location), _message(message) {
  Parse(message, true, std::move(headerBuffer), readState);
}

MBOXEmailAsset::MBOXEmailAsset(parvane::engine::SourceObserver* observer,
                               const parvane::engine::MessageLocation& location)
    : _observer(observer), _location(location) {
  ReportTooLarge("read");
}

void MBOXEmailAsset::ReportTooLarge(std::string_view step) const {
  if (!_observer) return;
  _observer->MessageTooLarge(
      _location, {parvane::platform::StatusCode::kTooBig,
                  "not enough memory to " + std::string(step) + " it: the message has " +
                      std::to_string(_location.size) + " bytes"});
}

void MBOXEmailAsset::Parse(const ByteSlice& message, bool isCrLf,
                           std::shared_ptr<std::string> headerBuffer,
                           const StateReader& readState) {
  try {
    ParseUnguarded(message, isCrLf, std::move(headerBuffer), readState);
  } catch (const std::bad_alloc&) {
    _emailP.reset();
    _details.reset();
    ReportTooLarge("parse");
  }
}

void MBOXEmailAsset::ParseUnguarded(const ByteSlice& message, bool isCrLf,
                                    std::shared_ptr<std::string> headerBuffer,
                                    const StateReader& readState) {
  const parvane::platform::StageMark mark(parvane::platform::Stage::kParse, message.size());
  _emailP = std::make_unique<TsEmail>();
  _emailP->put_Utf8(true);
  auto entity = std::make_shared<MimeMessage2>();
  // A message past the limit is left empty, and an empty one is no e-mail.
  if (message.size() <= Tessary::MimeLimits::kMessageBytes) {
    Tessary::ParseLog unread(Tessary::ParseLog::Keeping::kNothing);
    if (isCrLf) {
      entity->LoadCrLf(message, unread);
    } else {
      entity->Load(message, unread);
    }
    _header = entity->headerSlice();
    const std::string_view messageId = MessageIdIn(entity->header());
    if (_observer && !messageId.empty()) _observer->MessageNamed(_location, messageId);
    if (readState) _state = readState(entity->header(), message.view());
    parvane::sources::RepairNotes notes;
    parvane::sources::RepairMessage(*entity, std::move(headerBuffer), _observer ? &notes : nullptr);
    Remember(std::move(notes));
  }
  if (SetFromEntity(*_emailP, std::move(entity))) {
    FillMembers();
    return;
  }

  const Status dumped = AppendToDump(DumpFilePath(), message.view());
  _emailP.reset();
  if (_observer) _observer->MessageNotParsed(_location, dumped);
}

MBOXEmailAsset::~MBOXEmailAsset() = default;

Tessary::EmailMessage* MBOXEmailAsset::Parsed() const {
  return _emailP ? MessageOf(*_emailP) : nullptr;
}

// What cannot be parsed is written as an empty message.
parvane::engine::MessageShape MBOXEmailAsset::Shape() const {
  const Tessary::EmailMessage* parsed = Parsed();
  return parsed ? parvane::sources::ShapeOf(parsed->entity()) : parvane::engine::MessageShape{};
}

void MBOXEmailAsset::Remember(parvane::sources::RepairNotes&& notes) {
  const parvane::sources::RepairLosses& losses = notes.losses;
  for (const auto& [header, loss] : losses.named)
    _remarks.push_back({RemarkKind::kHeaderTextLost, std::string(header), InWords(loss)});
  if (losses.more > 0) {
    _remarks.push_back({RemarkKind::kHeaderTextLost, std::string(losses.named.back().header),
                        AndMore(losses.more)});
  }
  _dateBefore = std::move(notes.date);
  _headersInside = std::move(notes.headersInside);
}

void MBOXEmailAsset::AddRemarks(std::vector<parvane::engine::Remark> remarks) {
  std::ranges::move(remarks, std::back_inserter(_remarks));
}

void MBOXEmailAsset::FillMembers() {
  constexpr std::size_t kUsualSize = 250;
  // A subject may fill the message; who reads the details has a line or two for it.
  constexpr std::size_t kMostBytes = 64 << 10;
  Tessary::EmailMessage& email = *Parsed();
  std::u16string& details = _details.emplace();
  details.reserve(kUsualSize);
  details += u"From : ";
  email.AppendFrom(details);
  details += u"\r\nDate : ";
  email.AppendField("Date", details, kMostBytes);
  details += u"\r\nSubject : ";
  email.AppendField("Subject", details, kMostBytes);
}

bool MBOXEmailAsset::ConvertToMAPIMessage(parvane::mapi::IMessage* message,
                                          parvane::mapi::IMAPISession* session) {
  if (!_emailP || !message || !session) return false;
  try {
    return Convert(*message, *session);
  } catch (const std::bad_alloc&) {
    ReportTooLarge("convert");
    return false;
  }
}

bool MBOXEmailAsset::Convert(parvane::mapi::IMessage& message,
                             parvane::mapi::IMAPISession& session) {
  const parvane::platform::StageMark mark(parvane::platform::Stage::kConvert);
  parvane::convert::ConversionReport report;
  bool success = false;
  {
    MIMEToMAPIMessageConverter converter(&session);
    if (_observer) converter.SetReport(&report);
    converter.SetStep(_step);
    success = converter.WriteMail(_emailP.get(), &message, true) == 0;
  }
  if (_observer) {
    parvane::engine::ConversionNotes notes;
    notes.remarks = _remarks;
    notes.rawDate = _dateBefore.time;
    // Who knows more than one header does is believed.
    const bool deleted = _state ? _state->deleted.Is(true) : report.markedDeleted;
    AddDate(notes, {!report.dateMissing, report.date}, _dateBefore.text);
    notes.delivered = _state && _state->undated
                          ? _state->date.value.value_or(parvane::platform::FileTime{})
                          : report.delivered;
    AddTo(notes, std::move(report));
    if (deleted) notes.remarks.push_back({RemarkKind::kMarkedDeleted, {}, {}});
    _observer->MessageConverted(_location, success, notes);
  }
  return success;
}

std::optional<parvane::engine::MessageKey> MBOXEmailAsset::Key() {
  if (_key || _message.empty()) return _key;
  try {
    _key = parvane::sources::KeyOf(_message.view());
  } catch (const std::bad_alloc&) {
    // Which is asked for once in a process, where the system does the sums.
  }
  return _key;
}

std::function<parvane::engine::MessageKey()> MBOXEmailAsset::KeyWork() const {
  // A tenth of a millisecond of hashing: handing it over costs a few hundredths.
  constexpr std::size_t kLarge = 128 << 10;
  if (_key || _message.size() < kLarge) return {};
  return [message = _message] { return parvane::sources::KeyOf(message.view()); };
}

parvane::platform::FileTime MBOXEmailAsset::Delivered() const {
  if (!_emailP) return {};
  if (_state && _state->undated) return _state->date.value.value_or(parvane::platform::FileTime{});
  Tessary::EmailMessage& email = *Parsed();
  parvane::platform::FileTime time{};
  if (Tessary::DateValue date; !LacksDate() && email.Date(date)) date.GetAsFileTime(false, &time);
  // One that cannot be read leaves the Date in its place.
  std::string scratch;
  std::string_view text;
  if (email.Field("Delivery-Date", scratch, text)) {
    Tessary::DateValue delivery;
    delivery.SetFromRfc822(text);
    delivery.GetAsFileTime(false, &time);
  }
  return time;
}

std::u16string MBOXEmailAsset::MessageId() const {
  std::u16string id;
  if (_emailP) Parsed()->AppendField("Message-ID", id);
  return id;
}

parvane::engine::ConversionNotes MBOXEmailAsset::Foretell() const {
  parvane::engine::ConversionNotes notes;
  if (!_emailP) return notes;
  Tessary::EmailMessage& mail = *Parsed();
  notes.remarks = _remarks;
  notes.rawDate = _dateBefore.time;
  AddDate(notes, parvane::convert::ReadDate(mail), _dateBefore.text);
  const bool deleted =
      _state ? _state->deleted.Is(true)
             : (parvane::convert::ReadMozillaStatus(mail) & parvane::convert::kMozillaDeleted) != 0;
  if (deleted) notes.remarks.push_back({RemarkKind::kMarkedDeleted, {}, {}});
  return notes;
}

bool MBOXEmailAsset::ConvertToMBOX(std::ostream*) { return true; }

bool MBOXEmailAsset::ConvertToEML(std::ostream*) { return false; }

std::string_view MBOXEmailAsset::HeaderAsItCame(const parvane::convert::MailInHand& mail) const {
  if (mail.depth == 0) return _header.view();
  const std::string_view text = mail.email.entity().headerText();
  const auto before = _headersInside.find(text);
  return before == _headersInside.end() || before->second.empty() ? text : before->second.view();
}

void MBOXEmailAsset::Release() {
  _emailP.reset();
  _message = {};
  _header = {};
  _headersInside.clear();
  EmailAssetBase::Release();
}

}  // namespace QuelmarMIMEEngineCommon
