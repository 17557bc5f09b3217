#include "sources/message_repair.h"

#include <array>
#include <memory>
#include <span>
#include <string>
#include <string_view>
#include <utility>

#include "mime/facade/cls_mime.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "mime/mailbox.h"
#include "mime/mime_message2.h"
#include "mime/text_decoding.h"
#include "platform/stage_times.h"
#include "platform/text.h"
#include "sources/header_repair.h"

namespace QuelmarMIMEEngineCommon {

namespace platform = parvane::platform;
using parvane::mime::ByteSlice;
using parvane::mime::ParseLog;
using Tessary::MimeField;
using Tessary::MimeMessage2;
using Tessary::TransferEncoding;
using Tessary::TsMime;

namespace {

// Messages within messages beyond this are left as they are: no real mail gets there, and each
// level parses the rest of the message again.
constexpr int kMaximumMessageDepth = 32;

constexpr std::array<std::string_view, 6> kMailBoxHeaders = {"From", "To",     "Cc",
                                                             "Bcc",  "Sender", "Reply-To"};

using Losses = parvane::sources::RepairLosses;

void Adjust(MimeMessage2& entity, int depth, std::shared_ptr<std::string> buffer, Losses* losses);

void RepairAttachedMessage(MimeMessage2& attachment, int depth, Losses* losses) {
  // Most attached messages stand in the body as they are; some mailers encode them all the same,
  // and are repaired in the clear.
  const std::string& encoding = attachment.transferEncoding();
  const bool encoded = platform::EqualsIgnoreAsciiCase(encoding, "base64") ||
                       platform::EqualsIgnoreAsciiCase(encoding, "quoted-printable");
  const ByteSlice text = encoded ? attachment.DecodedBody() : attachment.SerialiseBody();
  if (text.size() > Tessary::MimeLimits::kMessageBytes) return;
  ParseLog unread(ParseLog::Keeping::kNothing);
  MimeMessage2 message;
  message.Load(text, unread);
  Adjust(message, depth + 1, nullptr, losses);
  if (encoded) attachment.SetField("Content-Transfer-Encoding", "8bit");
  attachment.ReplaceBody(message.Serialise());
}

void FixRelated(MimeMessage2& entity, int depth, Losses* losses) {
  if (entity.ContentTypeIs("multipart/related")) {
    for (const auto& part : entity.children()) part->RemoveField("Content-Disposition");
  }
  if (depth < kMaximumMessageDepth &&
      platform::EqualsIgnoreAsciiCase(entity.disposition().value(), "attachment") &&
      entity.ContentTypeIs("message/rfc822"))
    RepairAttachedMessage(entity, depth, losses);
  for (const auto& part : entity.children()) FixRelated(*part, depth, losses);
}

// The values of all fields of one name, joined by commas: bytes while they are ASCII, else text.
class FieldList {
 public:
  void Add(const MimeField& field, const MimeMessage2& entity) {
    const std::string_view value = field.Value(_scratch);
    // Seven-bit Japanese must be decoded first: its characters are made of quotes and commas, too.
    const bool ascii = Tessary::ReadsAsAscii(value, {});
    if (ascii && !_isWide) {
      AddNarrow(value);
      return;
    }
    if (!_isWide) {
      _wide = platform::Utf8ToUtf16(_narrow);
      _isWide = true;
    }
    if (!_wide.empty()) _wide += u',';
    _wide += ascii ? platform::Utf8ToUtf16(value)
                   : Tessary::DecodeText(value, {}, entity.contentType().Get("charset"));
  }

  // Appends the list rewritten, as UTF-8; false when something may be missing from it.
  bool AppendRewritten(std::string& out) const {
    if (!_isWide) return RewriteMailBoxes(_narrow, out);
    std::u16string wide;
    RewriteMailBoxes(_wide, wide);
    platform::AppendUtf16AsUtf8(wide, out);
    return false;
  }
  void FindLosses(std::string_view header, Losses& losses) const {
    const auto take = [&](parvane::sources::AddressLoss&& loss) {
      if (losses.named.size() < Losses::kMostNamed) {
        losses.named.push_back({header, std::move(loss)});
      } else {
        ++losses.more;
      }
    };
    if (_isWide) {
      parvane::sources::FindAddressLosses(_wide, take);
    } else {
      parvane::sources::FindAddressLosses(_narrow, take);
    }
  }
  bool empty() const { return _isWide ? _wide.empty() : _narrow.empty(); }

 private:
  // A value that is the only one and stands in the message is not copied.
  void AddNarrow(std::string_view value) {
    const bool unfolded = value.data() == _scratch.data();
    if (_narrow.empty() && !unfolded) {
      _narrow = value;
      return;
    }
    if (_joined.empty()) _joined = _narrow;
    if (!_joined.empty()) _joined += ',';
    _narrow = _joined += value;
  }

  std::string_view _narrow;
  std::string _scratch;  // to unfold the last value
  std::string _joined;
  std::u16string _wide;
  bool _isWide = false;
};

// New values for fields that are there.
class FieldChanges {
 public:
  FieldChanges() { _values.reserve(768); }

  // Calls `append` with the string that the value is to be appended to.
  template <typename Append>
  void Add(std::string_view name, Append append) {
    append(_values);
    _changes[_count++] = {name, {}};
    _ends[_count - 1] = _values.size();
  }

  void ApplyTo(MimeMessage2& entity, std::shared_ptr<std::string> buffer = nullptr) {
    if (_count == 0) return;
    std::size_t start = 0;
    for (std::size_t i = 0; i < _count; ++i) {
      _changes[i].value = std::string_view(_values).substr(start, _ends[i] - start);
      start = _ends[i];
    }
    entity.RewriteFields(std::span(_changes).first(_count), std::move(buffer));
  }

 private:
  static constexpr std::size_t kMost = kMailBoxHeaders.size() + 1;

  std::string _values;
  std::array<Tessary::FieldChange, kMost> _changes;
  std::array<std::size_t, kMost> _ends;
  std::size_t _count = 0;
};

// What FixMailBox does, for all address headers.
void FixMailBoxes(const MimeMessage2& entity, FieldChanges& changes, Losses* losses) {
  std::array<FieldList, kMailBoxHeaders.size()> lists;
  entity.header().ForEach(kMailBoxHeaders, [&](std::size_t list, const MimeField& field) {
    lists[list].Add(field, entity);
  });
  for (std::size_t i = 0; i < lists.size(); ++i) {
    if (lists[i].empty()) continue;
    bool complete = true;
    changes.Add(kMailBoxHeaders[i],
                [&](std::string& out) { complete = lists[i].AppendRewritten(out); });
    if (!complete && losses) lists[i].FindLosses(kMailBoxHeaders[i], *losses);
  }
}

bool IsLetterOrDigit(char16_t c) {
  return (c >= u'0' && c <= u'9') || (c >= u'a' && c <= u'z') || (c >= u'A' && c <= u'Z');
}

std::u16string_view Trim(std::u16string_view text) {
  while (!text.empty() && platform::IsWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && platform::IsWhiteSpace(text.back())) text.remove_suffix(1);
  return text;
}

// The date without white space around it, and without anything else before its first letter or
// digit, if it has one.
std::u16string_view DateInside(std::u16string_view text) {
  text = Trim(text);
  std::size_t start = 0;
  while (start < text.size() && !IsLetterOrDigit(text[start])) ++start;
  return start < text.size() ? text.substr(start) : text;
}

std::string_view DateInside(std::string_view text) {
  while (!text.empty() && platform::IsAsciiWhiteSpace(text.front())) text.remove_prefix(1);
  while (!text.empty() && platform::IsAsciiWhiteSpace(text.back())) text.remove_suffix(1);
  std::size_t start = 0;
  while (start < text.size() && !IsLetterOrDigit(static_cast<unsigned char>(text[start]))) ++start;
  return start < text.size() ? text.substr(start) : text;
}

void FixDate(const MimeMessage2& entity, FieldChanges& changes) {
  const MimeField* field = entity.header().Find("Date");
  if (field == nullptr) return;
  std::string scratch;
  const std::string_view value = field->Value(scratch);
  if (value.empty()) return;
  std::string fixed;
  bool rewritten;
  if (platform::IsAscii(value)) {
    rewritten = parvane::sources::RewriteDate(DateInside(value), fixed);
  } else {
    const std::u16string text = Tessary::DecodeText(value, {}, entity.contentType().Get("charset"));
    rewritten = parvane::sources::RewriteDate(platform::Utf16ToUtf8(DateInside(text)), fixed);
  }
  if (rewritten) changes.Add("Date", [&](std::string& out) { out += fixed; });
}

void Adjust(MimeMessage2& entity, int depth, std::shared_ptr<std::string> buffer, Losses* losses) {
  FixRelated(entity, depth, losses);
  FieldChanges changes;
  FixMailBoxes(entity, changes, losses);
  FixDate(entity, changes);
  changes.ApplyTo(entity, std::move(buffer));
}

}  // namespace

void AdjustMimeForTSMail(TsMime* mime) {
  if (mime) Adjust(mime->impl().Entity(), 0, nullptr, nullptr);
}

void FixRelatedContentDisposition(TsMime* mime) {
  if (mime) FixRelated(mime->impl().Entity(), 0, nullptr);
}

void FixMailBox(const char* headerName, TsMime* mime) {
  if (!mime || !headerName) return;
  MimeMessage2& entity = mime->impl().Entity();
  FieldList list;
  entity.header().ForEach(headerName, [&](const MimeField& field) { list.Add(field, entity); });
  if (list.empty()) return;
  FieldChanges changes;
  changes.Add(headerName, [&](std::string& out) { list.AppendRewritten(out); });
  changes.ApplyTo(entity);
}

void FixDate(TsMime* mime) {
  if (!mime) return;
  FieldChanges changes;
  FixDate(mime->impl().Entity(), changes);
  changes.ApplyTo(mime->impl().Entity());
}

}  // namespace QuelmarMIMEEngineCommon

namespace parvane::sources {

void RepairMessage(Tessary::MimeMessage2& message, std::shared_ptr<std::string> buffer,
                   RepairLosses* losses) {
  const platform::StageMark mark(platform::Stage::kRepair, message.headerText().size());
  QuelmarMIMEEngineCommon::Adjust(message, 0, std::move(buffer), losses);
}

}  // namespace parvane::sources
