#include "sources/mbox_email_asset.h"

#include <array>
#include <span>
#include <string_view>
#include <utility>

#include "convert/conversion_report.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "mime/ts_byte_data.h"
#include "mime/ts_date_time.h"
#include "mime/ts_email.h"
#include "mime/ts_mime.h"
#include "mime/ts_string.h"
#include "platform/file.h"
#include "sources/message_repair.h"

namespace QuelmarMIMEEngineCommon {

using parvane::platform::FileTime;
using parvane::platform::Status;
using Tessary::TsByteData;
using Tessary::TsDateTime;
using Tessary::TsEmail;
using Tessary::TsMime;
using Tessary::TsString;

namespace {

constexpr std::string_view kDumpBanner = "\r\n----------------- ERROR DUMP ----------------\r\n";

Status AppendToDump(const NullableString& path, std::string_view message) {
  if (!path) return {parvane::platform::StatusCode::kUnsupported, "no dump file is set"};
  const std::array<std::span<const std::byte>, 2> pieces = {std::as_bytes(std::span(kDumpBanner)),
                                                            std::as_bytes(std::span(message))};
  return parvane::platform::FileSystem::Default().AppendPrivate(*path, pieces);
}

FileTime ReadDate(const TsString& text) {
  FileTime time;
  TsDateTime date;
  if (date.SetFromRfc822(text.getUtf8())) date.GetAsFileTime(false, time);
  return time;
}

FileTime DateOf(TsMime& mime) {
  TsString text;
  return mime.GetHeaderField("Date", text) ? ReadDate(text) : FileTime{};
}

parvane::engine::ConversionNotes ToNotes(parvane::convert::ConversionReport&& report,
                                         FileTime rawDate) {
  parvane::engine::ConversionNotes notes;
  notes.unconvertedParts.reserve(report.unconvertedParts.size());
  for (auto& part : report.unconvertedParts)
    notes.unconvertedParts.push_back(
        {std::move(part.contentType), std::move(part.name), part.size});
  notes.attachmentsWritten = report.attachmentsWritten;
  notes.attachmentsFailed = report.attachmentsFailed;
  notes.dateMissing = report.dateMissing;
  notes.dateUnreadable = report.dateUnreadable;
  notes.rawDate = rawDate;
  notes.repairedDate = report.date;
  notes.dateChangedByRepair = !report.dateMissing && rawDate != report.date;
  return notes;
}

}  // namespace

MBOXEmailAsset::MBOXEmailAsset(ByteVector mimeBytes)
    : MBOXEmailAsset(std::move(mimeBytes), nullptr, {}) {}

MBOXEmailAsset::MBOXEmailAsset(ByteVector mimeBytes, parvane::engine::SourceObserver* observer,
                               const parvane::engine::MessageLocation& location)
    : _emailP(std::make_unique<TsEmail>()), _observer(observer), _location(location) {
  _emailP->put_Utf8(true);
  TsByteData bytes;
  bytes.adopt(std::move(mimeBytes));

  TsString text;
  {
    TsMime mime;
    mime.put_Utf8(true);
    if (mime.LoadMimeBytes(bytes)) {
      if (_observer) _rawDate = DateOf(mime);
      AdjustMimeForTSMail(&mime);
    }
    mime.getMime(text);
  }
  if (_emailP->SetFromMimeText(text)) {
    FillMembers();
    return;
  }

  const Status dumped = AppendToDump(DumpFilePath(), bytes.view());
  _emailP.reset();
  if (_observer) _observer->MessageNotParsed(_location, dumped);
}

MBOXEmailAsset::~MBOXEmailAsset() = default;

void MBOXEmailAsset::FillMembers() {
  TsString text;
  std::u16string details = u"From : ";
  _emailP->get_From(text);
  details += text.viewUnicode();
  details += u"\r\nDate : ";
  _emailP->get_EmailDateStr(text);
  details += text.viewUnicode();
  details += u"\r\nSubject : ";
  _emailP->get_Subject(text);
  details += text.viewUnicode();
  _details = std::move(details);
}

bool MBOXEmailAsset::ConvertToMAPIMessage(parvane::mapi::IMessage* message,
                                          parvane::mapi::IMAPISession* session) {
  if (!_emailP || !message || !session) return false;
  parvane::convert::ConversionReport report;
  bool success = false;
  {
    MIMEToMAPIMessageConverter converter(session);
    if (_observer) converter.SetReport(&report);
    success = converter.WriteMail(_emailP.get(), message, true) == 0;
  }
  if (_observer)
    _observer->MessageConverted(_location, success, ToNotes(std::move(report), _rawDate));
  return success;
}

bool MBOXEmailAsset::ConvertToMBOX(std::ostream*) { return true; }

bool MBOXEmailAsset::ConvertToEML(std::ostream*) { return false; }

void MBOXEmailAsset::Release() {
  _emailP.reset();
  EmailAssetBase::Release();
}

}  // namespace QuelmarMIMEEngineCommon
