#include "sources/address_repair.h"

#include <algorithm>
#include <array>
#include <string>
#include <string_view>
#include <utility>

#include "mime/facade/library_access.h"
#include "mime/facade/ts_mime.h"
#include "mime/header_facts.h"
#include "mime/mailbox.h"
#include "mime/mime_message2.h"
#include "mime/text_decoding.h"
#include "platform/text.h"

namespace parvane::sources {
namespace {

using Tessary::AddressField;
using Tessary::HeaderFacts;
using Tessary::kAddressFields;
using Tessary::MimeField;
using Tessary::MimeMessage2;

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

  // Appends the list rewritten, as UTF-8, and keeps where its mailboxes stand; false when something
  // may be missing from it.
  bool AppendRewritten(AddressField field, HeaderFacts& facts, std::string& out) const {
    if (!_isWide) return facts.Rewrite(field, _narrow, out);
    // Piece by piece, since it grows: every comma cuts.
    constexpr std::size_t kPiece = 64 * 1024;
    const std::size_t start = out.size();
    std::u16string rewritten;
    for (std::u16string_view rest = _wide; !rest.empty();) {
      const std::size_t end = std::min(rest.find(u',', kPiece), rest.size());
      rewritten.clear();
      QuelmarMIMEEngineCommon::RewriteMailBoxes(rest.substr(0, end), rewritten);
      if (!rewritten.empty() && out.size() > start) out += ',';
      platform::AppendUtf16AsUtf8(rewritten, out);
      rest.remove_prefix(std::min(end + 1, rest.size()));
    }
    return false;
  }
  void FindLosses(std::string_view header, RepairLosses& losses) const {
    const auto take = [&](AddressLoss&& loss) {
      if (losses.named.size() < RepairLosses::kMostNamed) {
        losses.named.push_back({header, std::move(loss)});
      } else {
        ++losses.more;
      }
    };
    if (_isWide) {
      FindAddressLosses(_wide, take);
    } else {
      FindAddressLosses(_narrow, take);
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

}  // namespace

void RepairAddresses(const MimeMessage2& entity, FieldChanges& changes, RepairLosses* losses) {
  std::array<FieldList, kAddressFields.size()> lists;
  entity.header().ForEach(kAddressFields, [&](std::size_t list, const MimeField& field) {
    lists[list].Add(field, entity);
  });
  for (std::size_t i = 0; i < lists.size(); ++i) {
    if (lists[i].empty()) continue;
    bool complete = true;
    changes.Add(kAddressFields[i], [&](std::string& out) {
      complete = lists[i].AppendRewritten(static_cast<AddressField>(i), changes.facts(), out);
    });
    if (!complete && losses) lists[i].FindLosses(kAddressFields[i], *losses);
  }
}

void RepairAddressHeader(std::string_view name, MimeMessage2& entity) {
  FieldList list;
  entity.header().ForEach(name, [&](const MimeField& field) { list.Add(field, entity); });
  if (list.empty()) return;
  FieldChanges changes;
  changes.Add(name, [&](std::string& out) {
    HeaderFacts unused;
    list.AppendRewritten(AddressField::kTo, unused, out);
  });
  changes.ApplyTo(entity);
}

}  // namespace parvane::sources

namespace QuelmarMIMEEngineCommon {

void FixMailBox(const char* headerName, Tessary::TsMime* mime) {
  if (!mime || !headerName) return;
  parvane::sources::RepairAddressHeader(headerName, EntityOf(*mime));
}

}  // namespace QuelmarMIMEEngineCommon
