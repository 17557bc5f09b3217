#include "mapi/builtin/message_properties.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

#include "mapi/builtin/identity.h"
#include "mapi/constants.h"
#include "mapi/results.h"
#include "platform/recycled_vector.h"
#include "platform/system.h"
#include "platform/text.h"
#include "pstfile/store/subject.h"

namespace parvane::mapi::builtin {
namespace {

using platform::Status;
using pstfile::PropertyList;

// Flags a caller decides; the others are the store's.
constexpr ULONG kCallersFlags = MSGFLAG_READ | MSGFLAG_UNSENT | MSGFLAG_FROMME | MSGFLAG_RESEND |
                                MSGFLAG_ORIGIN_X400 | MSGFLAG_ORIGIN_INTERNET |
                                MSGFLAG_ORIGIN_MISC_EXT;

constexpr char16_t kDefaultClass[] = u"IPM";

bool Contains(std::span<const ULONG> tags, ULONG id) {
  return std::any_of(tags.begin(), tags.end(), [id](ULONG tag) { return PropId(tag) == id; });
}

bool Has(const PropertyList& list, ULONG tag) {
  return list.HasId(static_cast<std::uint16_t>(PropId(tag)));
}

void Drop(PropertyList& list, ULONG tag) { list.Remove(static_cast<std::uint16_t>(PropId(tag))); }

// Letters are those of any script: what is excluded are digits, blanks and punctuation.
bool IsPrefixLetter(char16_t unit) {
  if (unit < 0x80) return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
  return !platform::IsWhiteSpace(unit) && !(unit >= 0x2000 && unit <= 0x206F) &&
         !(unit >= 0x3000 && unit <= 0x303F) && !(unit >= 0xFF00 && unit <= 0xFF20) &&
         !(unit < 0xC0);
}

// The display names of recipients of one type, joined by "; ". Those of a very long list go to the
// file as they come.
class DisplayNames {
 public:
  Status Add(pstfile::PstStore& store, std::u16string_view name) {
    static constexpr std::u16string_view kSeparator = u"; ";
    if (_writer || !_names.empty())
      _names.insert(_names.end(), kSeparator.begin(), kSeparator.end());
    _names.insert(_names.end(), name.begin(), name.end());
    constexpr std::size_t kMost = 64 * 1024;
    if (_names.size() < kMost) return {};
    if (!_writer) {
      auto writer = store.NewValue(pstfile::ValueWriter::Kind::kText);
      if (!writer.ok()) return writer.status();
      _writer.emplace(std::move(*writer));
    }
    Status status = _writer->AppendText(View());
    _names.clear();
    return status;
  }

  Status Set(PropertyList& list, ULONG tag) {
    if (_writer) {
      Status status = _writer->AppendText(View());
      if (!status.ok()) return status;
      auto stored = _writer->Finish();
      if (!stored.ok()) return stored.status();
      list.SetStored(ToTag(tag), *stored);
    } else if (_names.empty()) {
      Drop(list, tag);  // reads as an empty string
    } else {
      list.SetText(ToTag(tag), View());
    }
    return {};
  }

 private:
  std::u16string_view View() const { return {_names.data(), _names.size()}; }

  platform::RecycledVector<char16_t> _names;  // every message has some
  std::optional<pstfile::ValueWriter> _writer;
};

Status CompleteDisplayNames(pstfile::PstStore& store, PropertyList& list,
                            const RecipientList& recipients) {
  static constexpr ULONG kTags[] = {PR_DISPLAY_TO_W, PR_DISPLAY_CC_W, PR_DISPLAY_BCC_W};
  static_assert(MAPI_TO == 1 && MAPI_CC == 2 && MAPI_BCC == 3);
  DisplayNames names[std::size(kTags)];
  std::u16string scratch;
  for (std::size_t i = 0; i < recipients.RowCount(); ++i) {
    auto row = recipients.Row(i);
    if (!row.ok()) return row.status();
    const std::uint64_t type = (*row)->Scalar(ToTag(PR_RECIPIENT_TYPE)).value_or(0) & 0xF;
    if (type < MAPI_TO || type > MAPI_BCC) continue;
    const auto name = (*row)->ViewText(ToTag(PR_DISPLAY_NAME_W), scratch);
    Status status = names[type - MAPI_TO].Add(store, name.value_or(std::u16string_view()));
    if (!status.ok()) return status;
  }
  for (std::size_t i = 0; i < std::size(kTags); ++i) {
    if (Status status = names[i].Set(list, kTags[i]); !status.ok()) return status;
  }
  return {};
}

// The file's subject says where its prefix ends; a subject that went to the file by itself already
// (a very long one) is left without.
void CompleteSubject(PropertyList& list, bool plain) {
  const std::u16string given = list.Text(ToTag(PR_SUBJECT_PREFIX_W)).value_or(u"");
  Drop(list, PR_SUBJECT_PREFIX_W);
  Drop(list, PR_NORMALIZED_SUBJECT_W);
  std::u16string scratch;
  const auto stored = list.ViewText(ToTag(PR_SUBJECT_W), scratch);
  if (!stored) return;
  std::u16string_view subject = *stored;
  std::u16string_view before;
  if (!plain) {
    const pstfile::DecodedSubject decoded = pstfile::DecodeSubject(*stored);
    subject = decoded.subject;
    before = subject.substr(0, decoded.prefixLength);
  }
  const std::size_t prefix = SubjectPrefixLength(subject, given.empty() ? before : given);
  // The list's memory moves when something is set.
  const std::u16string encoded = pstfile::EncodeSubject(subject, prefix);
  if (!Has(list, PR_CONVERSATION_TOPIC_W)) {
    list.SetText(ToTag(PR_CONVERSATION_TOPIC_W), subject.substr(prefix));
  }
  list.SetText(ToTag(PR_SUBJECT_W), encoded);
}

struct AddressSet {
  ULONG type;
  ULONG address;
  ULONG searchKey;
  ULONG smtpAddress;
};
constexpr AddressSet kAddressSets[] = {
    {PR_SENDER_ADDRTYPE_W, PR_SENDER_EMAIL_ADDRESS_W, PR_SENDER_SEARCH_KEY,
     PR_SENDER_SMTP_ADDRESS_W},
    {PR_SENT_REPRESENTING_ADDRTYPE_W, PR_SENT_REPRESENTING_EMAIL_ADDRESS_W,
     PR_SENT_REPRESENTING_SEARCH_KEY, PR_SENT_REPRESENTING_SMTP_ADDRESS_W},
    {PR_RECEIVED_BY_ADDRTYPE_W, PR_RECEIVED_BY_EMAIL_ADDRESS_W, PR_RECEIVED_BY_SEARCH_KEY,
     PR_RECEIVED_BY_SMTP_ADDRESS_W},
};

void CompleteAddresses(PropertyList& list) {
  std::u16string typeScratch;
  std::u16string addressScratch;
  for (const AddressSet& set : kAddressSets) {
    const auto type = list.ViewText(ToTag(set.type), typeScratch);
    const auto address = list.ViewText(ToTag(set.address), addressScratch);
    if (!type || !address) continue;
    const bool isSmtp = IsSmtp(*type);
    if (!Has(list, set.searchKey)) {
      list.SetBytes(ToTag(set.searchKey), AddressSearchKey(*type, *address));
    }
    if (isSmtp && !Has(list, set.smtpAddress)) {
      list.CopyValue(ToTag(set.smtpAddress), ToTag(set.address));
    }
  }
}

void CompleteFlags(PropertyList& list, const SaveContext& context) {
  const auto given = list.Scalar(ToTag(PR_MESSAGE_FLAGS));
  // Mail that comes in is written here: what sets no flags is unread mail, never a draft.
  ULONG flags = given ? static_cast<ULONG>(*given) : 0;
  if (context.first) flags &= kCallersFlags;
  if (context.associated) flags |= MSGFLAG_ASSOCIATED;
  list.SetScalar(ToTag(PR_MESSAGE_FLAGS), flags);
}

}  // namespace

bool IsComputedOfMessage(ULONG id, bool saved) {
  switch (id) {
    case PropId(PR_DISPLAY_TO_W):
    case PropId(PR_DISPLAY_CC_W):
    case PropId(PR_DISPLAY_BCC_W):
    case PropId(PR_MESSAGE_SIZE):
    case PropId(PR_HASATTACH):
    case PropId(PR_NORMALIZED_SUBJECT_W):
    case PropId(PR_MSG_STATUS):
    case PropId(PR_MESSAGE_RECIPIENTS):
    case PropId(PR_MESSAGE_ATTACHMENTS):
      return true;
    case PropId(PR_MESSAGE_FLAGS):
    case PropId(PR_CREATION_TIME):
    case PropId(PR_LAST_MODIFICATION_TIME):
      return saved;
    default:
      return IsIdentity(id);
  }
}

std::size_t SubjectPrefixLength(std::u16string_view subject, std::u16string_view given) {
  if (!given.empty() && subject.starts_with(given)) return given.size();
  std::size_t letters = 0;
  while (letters < 3 && letters < subject.size() && IsPrefixLetter(subject[letters])) ++letters;
  if (letters == 0 || subject.substr(letters, 2) != u": ") return 0;
  return letters + 2;
}

bool IsDerived(ULONG id) {
  static constexpr ULONG kDerived[] = {PR_SUBJECT_PREFIX_W, PR_NORMALIZED_SUBJECT_W,
                                       PR_HASATTACH,        PR_DISPLAY_TO_W,
                                       PR_DISPLAY_CC_W,     PR_DISPLAY_BCC_W};
  return Contains(kDerived, id);
}

HRESULT SplitStoredSubject(ULONG id, Value& value) {
  if (PropType(value.tag) != PT_UNICODE) {
    // 8-bit, in a file of another writer: taken as it is, without a known prefix.
    if (id == PropId(PR_SUBJECT_PREFIX_W)) value.SetText(PR_SUBJECT_PREFIX_W, {});
    value.tag = PropTag(PropType(value.tag), id);
    return S_OK;
  }
  std::u16string scratch;
  const pstfile::DecodedSubject decoded = pstfile::DecodeSubject(ViewText(value.bytes, scratch));
  std::u16string_view part = decoded.subject;
  if (id == PropId(PR_SUBJECT_PREFIX_W)) part = part.substr(0, decoded.prefixLength);
  if (id == PropId(PR_NORMALIZED_SUBJECT_W)) part.remove_prefix(decoded.prefixLength);
  value.SetText(PropTag(PT_UNICODE, id), part);
  return S_OK;
}

Status CompleteMessage(pstfile::PstStore& store, PropertyList& list,
                       const RecipientList& recipients, const SaveContext& context) {
  if (!Has(list, PR_MESSAGE_CLASS_W)) list.SetText(ToTag(PR_MESSAGE_CLASS_W), kDefaultClass);
  const std::uint64_t now = TimeBits(platform::CurrentFileTime());
  if (!Has(list, PR_CREATION_TIME)) list.SetScalar(ToTag(PR_CREATION_TIME), now);
  if (!context.first) {
    list.SetScalar(ToTag(PR_LAST_MODIFICATION_TIME), now);
  } else if (!Has(list, PR_LAST_MODIFICATION_TIME)) {
    list.SetScalar(ToTag(PR_LAST_MODIFICATION_TIME),
                   list.Scalar(ToTag(PR_CREATION_TIME)).value_or(now));
  }
  if (!Has(list, PR_SEARCH_KEY)) {
    std::array<std::byte, 16> key;
    platform::FillRandom(key);
    list.SetBytes(ToTag(PR_SEARCH_KEY), key);
  }
  if (!Has(list, PR_SENSITIVITY)) list.SetScalar(ToTag(PR_SENSITIVITY), SENSITIVITY_NONE);
  CompleteFlags(list, context);
  CompleteSubject(list, context.plainSubject);
  CompleteAddresses(list);
  return CompleteDisplayNames(store, list, recipients);
}

}  // namespace parvane::mapi::builtin
