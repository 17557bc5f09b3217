#include "desk/property_text.h"

#include <algorithm>
#include <cstring>

#include <fmt/format.h>

#include "desk/format.h"
#include "desk/pst_account.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/identifiers.h"
#include "mapi/tag_names.h"
#include "mapi/tags.h"
#include "moves/property_reading.h"
#include "platform/text.h"

namespace parvane::desk {
namespace {

using mapi::SPropValue;
using mapi::ULONG;

constexpr std::size_t kMostProperties = 4'000;
constexpr std::size_t kLongestText = 2'000;  // characters that are shown
constexpr std::size_t kMostBytes = 64;
constexpr std::size_t kMostValues = 50;
constexpr ULONG kFirstNamed = 0x8000;

std::string CutText(std::u16string_view text) {
  if (text.size() <= kLongestText) return platform::Utf16ToUtf8(text);
  return fmt::format("{}… ({} characters)", platform::Utf16ToUtf8(text.substr(0, kLongestText)),
                     WithThousands(text.size()));
}

std::string Hex(std::string_view bytes) {
  std::string text;
  for (const char c : bytes.substr(0, kMostBytes))
    text += fmt::format("{:02X}{}", static_cast<unsigned char>(c), "");
  return text;
}

std::string Hex(const mapi::SBinary& bytes) {
  const std::string text =
      Hex(std::string_view(reinterpret_cast<const char*>(bytes.lpb), bytes.cb));
  return bytes.cb <= kMostBytes ? text : fmt::format("{}… ({})", text, Size(bytes.cb));
}

std::string GuidText(const mapi::GUID& guid) {
  std::string text = fmt::format("{:08X}-{:04X}-{:04X}-", guid.Data1, guid.Data2, guid.Data3);
  for (std::size_t i = 0; i < 8; ++i)
    text += fmt::format("{}{:02X}", i == 2 ? "-" : "", guid.Data4[i]);
  return text;
}

template <typename Array, typename Element, typename Text>
std::string Several(const Array& array, Element* Array::*values, Text text) {
  std::string joined;
  for (std::size_t i = 0; i < std::min<std::size_t>(array.cValues, kMostValues); ++i)
    joined.append(i == 0 ? "" : "; ").append(text((array.*values)[i]));
  if (array.cValues > kMostValues) joined += fmt::format("; … ({} values)", array.cValues);
  return joined;
}

std::string_view TypeName(ULONG type) {
  switch (type & ~mapi::MV_FLAG) {
    case mapi::PT_I2:
    case mapi::PT_LONG:
    case mapi::PT_I8:
    case mapi::PT_R4:
    case mapi::PT_DOUBLE:
    case mapi::PT_CURRENCY:
      return type & mapi::MV_FLAG ? "numbers" : "number";
    case mapi::PT_BOOLEAN:
      return "yes or no";
    case mapi::PT_UNICODE:
    case mapi::PT_STRING8:
      return type & mapi::MV_FLAG ? "texts" : "text";
    case mapi::PT_SYSTIME:
    case mapi::PT_APPTIME:
      return type & mapi::MV_FLAG ? "times" : "time";
    case mapi::PT_CLSID:
      return "identifier";
    case mapi::PT_BINARY:
      return "bytes";
    case mapi::PT_OBJECT:
      return "object";
    default:
      return "unknown";
  }
}

std::string SeveralText(const SPropValue& value) {
  const auto number = [](const auto& one) { return fmt::format("{}", one); };
  switch (mapi::PropType(value.ulPropTag)) {
    case mapi::PT_MV_I2:
      return Several(value.Value.MVi, &mapi::SShortArray::lpi, number);
    case mapi::PT_MV_LONG:
      return Several(value.Value.MVl, &mapi::SLongArray::lpl, number);
    case mapi::PT_MV_I8:
      return Several(
          value.Value.MVli, &mapi::SLargeIntegerArray::lpli,
          [](const mapi::LARGE_INTEGER& one) { return fmt::format("{}", one.QuadPart); });
    case mapi::PT_MV_UNICODE:
      return Several(value.Value.MVszW, &mapi::SWStringArray::lppszW,
                     [](const mapi::LPWSTR& one) { return CutText(one); });
    case mapi::PT_MV_SYSTIME:
      return Several(value.Value.MVft, &mapi::SDateTimeArray::lpft,
                     [](const mapi::FILETIME& one) { return IsoTime(one); });
    case mapi::PT_MV_BINARY:
      return Several(value.Value.MVbin, &mapi::SBinaryArray::lpbin,
                     [](const mapi::SBinary& one) { return Hex(one); });
    case mapi::PT_MV_CLSID:
      return Several(value.Value.MVguid, &mapi::SGuidArray::lpguid, GuidText);
    default:
      return fmt::format("({} values)", value.Value.MVl.cValues);
  }
}

std::string ValueText(const SPropValue& value) {
  switch (mapi::PropType(value.ulPropTag)) {
    case mapi::PT_I2:
      return fmt::format("{}", value.Value.i);
    case mapi::PT_LONG:
      return fmt::format("{} (0x{:X})", value.Value.l, value.Value.ul);
    case mapi::PT_I8:
    case mapi::PT_CURRENCY:
      return fmt::format("{}", value.Value.li.QuadPart);
    case mapi::PT_R4:
      return fmt::format("{}", value.Value.flt);
    case mapi::PT_DOUBLE:
    case mapi::PT_APPTIME:
      return fmt::format("{}", value.Value.dbl);
    case mapi::PT_BOOLEAN:
      return value.Value.b ? "yes" : "no";
    case mapi::PT_UNICODE:
      return CutText(value.Value.lpszW ? std::u16string_view(value.Value.lpszW) : u"");
    case mapi::PT_STRING8:
      return CutText(platform::AnsiToUtf16(value.Value.lpszA ? value.Value.lpszA : ""));
    case mapi::PT_SYSTIME:
      return IsoTime(value.Value.ft);
    case mapi::PT_CLSID:
      return value.Value.lpguid ? GuidText(*value.Value.lpguid) : "";
    case mapi::PT_BINARY:
      return Hex(value.Value.bin);
    default:
      return value.ulPropTag & mapi::MV_FLAG ? SeveralText(value) : "";
  }
}

// What does not fit into a row of values: its beginning, and how long it is.
std::string LongValueText(mapi::IMAPIProp& object, ULONG tag) {
  std::uint64_t length = 0;
  std::u16string text;
  std::string bytes;
  const bool isText = mapi::PropType(tag) == mapi::PT_UNICODE;
  const bool read = isText
                        ? moves::ReadText(object, tag,
                                          [&](std::u16string_view piece) {
                                            length += piece.size();
                                            if (text.size() < kLongestText)
                                              text += piece.substr(0, kLongestText - text.size());
                                            return true;
                                          })
                        : moves::ReadProperty(object, tag, [&](std::string_view piece) {
                            length += piece.size();
                            if (bytes.size() < kMostBytes)
                              bytes += piece.substr(0, kMostBytes - bytes.size());
                            return true;
                          });
  if (!read) return "(cannot be read)";
  return isText ? fmt::format("{}… ({} characters)", platform::Utf16ToUtf8(text),
                              WithThousands(length))
                : fmt::format("{}… ({})", Hex(bytes), Size(length));
}

// "Keywords", "0x8503" of its set; empty: it has none here.
std::string NameOfNamed(mapi::IMAPIProp& object, ULONG tag) {
  mapi::SizedSPropTagArray<1> tags = {1, {tag}};
  mapi::SPropTagArray* asked = tags.get();
  ULONG count = 0;
  mapi::MapiBuffer<mapi::MAPINAMEID*> names;
  object.GetNamesFromIDs(&asked, nullptr, 0, &count, names.Put());
  if (count != 1 || !names || names[0] == nullptr) return {};
  const mapi::MAPINAMEID& name = *names[0];
  if (name.ulKind == mapi::MNID_STRING)
    return name.Kind.lpwstrName ? platform::Utf16ToUtf8(name.Kind.lpwstrName) : "";
  return fmt::format("0x{:04X}{}", static_cast<ULONG>(name.Kind.lID),
                     name.lpguid ? " of " + GuidText(*name.lpguid) : "");
}

ViewedProperty Describe(mapi::IMAPIProp& object, ULONG tag, const SPropValue& value) {
  ViewedProperty property;
  property.tag = tag;
  property.name =
      mapi::PropId(tag) >= kFirstNamed ? NameOfNamed(object, tag) : std::string(mapi::TagName(tag));
  property.type = TypeName(mapi::PropType(tag));
  if (mapi::PropType(tag) == mapi::PT_OBJECT) return property;
  if (mapi::PropType(value.ulPropTag) != mapi::PT_ERROR) {
    property.value = ValueText(value);
  } else if (value.Value.err == mapi::MAPI_E_NOT_ENOUGH_MEMORY) {
    property.value = LongValueText(object, tag);
  } else {
    property.value = fmt::format("(cannot be read: {})", ResultText(value.Value.err));
  }
  return property;
}

}  // namespace

// One value at a time: one that is damaged costs no other, and no two long ones are held at once.
bool ListProperties(mapi::IMAPIProp& object, std::vector<ViewedProperty>& properties) {
  mapi::MapiBuffer<mapi::SPropTagArray> tags;
  if (mapi::Failed(object.GetPropList(mapi::MAPI_UNICODE, tags.Put())) || !tags) return false;
  for (ULONG i = 0; i < std::min<std::size_t>(tags->cValues, kMostProperties); ++i) {
    const ULONG tag = tags->aulPropTag[i];
    mapi::SizedSPropTagArray<1> wanted = {1, {tag}};
    ULONG count = 0;
    mapi::MapiBuffer<SPropValue> value;
    if (mapi::Failed(object.GetProps(wanted.get(), mapi::MAPI_UNICODE, &count, value.Put())) ||
        count != 1 || !value) {
      return false;
    }
    properties.push_back(Describe(object, tag, value[0]));
  }
  std::ranges::sort(properties, {}, &ViewedProperty::tag);
  return true;
}

}  // namespace parvane::desk
