#include "convert/properties/mapi_properties.h"

#include "convert/properties/strings.h"
#include "mapi/com_pointer.h"
#include "mapi/constants.h"
#include "mapi/refusals.h"
#include "mapi/results.h"
#include "mapi/tags.h"

namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities {

using parvane::mapi::MapiBuffer;
using parvane::mapi::MAPINAMEID;
using parvane::mapi::SPropProblemArray;
using parvane::mapi::SPropTagArray;

namespace {

SPropValue ValueOf(ULONG tag) {
  SPropValue value{};
  value.ulPropTag = tag;
  return value;
}

void SetOne(IMAPIProp* object, SPropValue& value) {
  if (object) SetProperties(*object, 1, &value);
}

// The structures of MAPI know no const; what is only set is only read.
SBinary ToBinary(ULONG size, const void* bytes) {
  return {size, static_cast<parvane::mapi::BYTE*>(const_cast<void*>(bytes))};
}

std::vector<std::u16string> ToWide(const std::vector<std::string>& strings) {
  std::vector<std::u16string> wide(strings.size());
  for (std::size_t i = 0; i < strings.size(); ++i) stringTowstring(strings[i], wide[i]);
  return wide;
}

ULONG TagOfName(IMAPIProp* object, MAPINAMEID& name) {
  if (!object) return 0;
  MAPINAMEID* names = &name;
  MapiBuffer<SPropTagArray> tags;
  object->GetIDsFromNames(1, &names, parvane::mapi::MAPI_CREATE, tags.Put());
  return tags && tags->cValues > 0 ? tags->aulPropTag[0] : 0;
}

// The named identifier with the wanted type, provided MAPI returned type bits of 0; otherwise the
// mask keeps those bits that the type has too.
ULONG TypedTag(IMAPIProp* object, LONG id, const GUID* propertySet, ULONG type) {
  const ULONG tag = GetNamedPropId(object, id, propertySet);
  return tag == 0 ? 0 : (tag & (0xFFFF0000u | type)) | type;
}

}  // namespace

void SetProperties(IMAPIProp& object, ULONG count, SPropValue* values) {
  MapiBuffer<SPropProblemArray> problems;
  const parvane::mapi::HRESULT result = object.SetProps(count, values, problems.Put());
  if (parvane::mapi::Failed(result)) parvane::mapi::NoteRefusal(result, values->ulPropTag);
  if (!problems) return;
  for (ULONG i = 0; i < problems->cProblem; ++i)
    parvane::mapi::NoteRefusal(problems->aProblem[i].scode, problems->aProblem[i].ulPropTag);
}

SPropValue TextOf(ULONG tag, const char16_t* text) {
  SPropValue value = ValueOf(tag);
  value.Value.lpszW = const_cast<char16_t*>(text);
  return value;
}

SPropValue BinaryOf(ULONG tag, ULONG size, const void* bytes) {
  SPropValue value = ValueOf(tag);
  value.Value.bin = ToBinary(size, bytes);
  return value;
}

SPropValue NumberOf(ULONG tag, ULONG number) {
  SPropValue value = ValueOf(tag);
  value.Value.ul = number;
  return value;
}

void SetPropLong(IMAPIProp* object, ULONG tag, LONG value) {
  SPropValue property = ValueOf(tag);
  property.Value.l = value;
  SetOne(object, property);
}

void SetPropShort(IMAPIProp* object, ULONG tag, std::int16_t value) {
  SPropValue property = ValueOf(tag);
  property.Value.i = value;
  SetOne(object, property);
}

void SetPropBool(IMAPIProp* object, ULONG tag, std::int32_t value) {
  SPropValue property = ValueOf(tag);
  property.Value.b = value != 0 ? 1 : 0;
  SetOne(object, property);
}

void SetPropString(IMAPIProp* object, ULONG tag, const char16_t* text) {
  if (!text || !*text) return;
  SPropValue property = ValueOf(tag);
  property.Value.lpszW = const_cast<char16_t*>(text);
  SetOne(object, property);
}

void SetPropString(IMAPIProp* object, ULONG tag, const char* text) {
  if (!text || !*text) return;
  SPropValue property = ValueOf(tag);
  property.Value.lpszA = const_cast<char*>(text);
  SetOne(object, property);
}

void SetPropTime(IMAPIProp* object, ULONG tag, const FILETIME& time) {
  SPropValue property = ValueOf(tag);
  property.Value.ft = time;
  SetOne(object, property);
}

void SetPropBin(IMAPIProp* object, ULONG tag, ULONG size, const void* bytes) {
  SPropValue property = ValueOf(tag);
  property.Value.bin = ToBinary(size, bytes);
  SetOne(object, property);
}

void SetPropMVString(IMAPIProp* object, ULONG tag, const std::vector<std::u16string>& strings) {
  if (strings.empty()) return;
  std::vector<char16_t*> pointers;
  pointers.reserve(strings.size());
  for (const std::u16string& text : strings)
    pointers.push_back(const_cast<char16_t*>(text.c_str()));
  SPropValue property = ValueOf(tag);
  property.Value.MVszW = {static_cast<ULONG>(pointers.size()), pointers.data()};
  SetOne(object, property);
}

void SetPropMVString(IMAPIProp* object, ULONG tag, const std::vector<std::string>& strings) {
  SetPropMVString(object, tag, ToWide(strings));
}

void SetPropMVBin(IMAPIProp* object, ULONG tag, const std::vector<SBinary>& binaries) {
  if (binaries.empty()) return;
  SPropValue property = ValueOf(tag);
  property.Value.MVbin = {static_cast<ULONG>(binaries.size()),
                          const_cast<SBinary*>(binaries.data())};
  SetOne(object, property);
}

void AddProperty_STRW(PropertyList& list, ULONG tag, const char16_t* text) {
  list.push_back(ValueOf(tag));
  list.back().Value.lpszW = const_cast<char16_t*>(text);
}

void AddProperty_ULONG(PropertyList& list, ULONG tag, ULONG value) {
  list.push_back(ValueOf(tag));
  list.back().Value.ul = value;
}

void AddProperty_LONG(PropertyList& list, ULONG tag, LONG value) {
  list.push_back(ValueOf(tag));
  list.back().Value.l = value;
}

void AddProperty_BOOL(PropertyList& list, ULONG tag, std::int32_t value) {
  list.push_back(ValueOf(tag));
  list.back().Value.b = value != 0 ? 1 : 0;
}

void AddProperty_BIN(PropertyList& list, ULONG tag, ULONG size, const void* bytes) {
  list.push_back(ValueOf(tag));
  list.back().Value.bin = ToBinary(size, bytes);
}

void AddProperty_TIME(PropertyList& list, ULONG tag, const parvane::platform::SystemTime& time) {
  FILETIME fileTime{};
  parvane::platform::SystemTimeToFileTime(time, &fileTime);
  list.push_back(ValueOf(tag));
  list.back().Value.ft = fileTime;
}

ULONG GetNamedPropId(IMAPIProp* object, const char16_t* name, const GUID* propertySet) {
  MAPINAMEID record{};
  record.lpguid = const_cast<GUID*>(propertySet);
  record.ulKind = parvane::mapi::MNID_STRING;
  record.Kind.lpwstrName = const_cast<char16_t*>(name);
  return name ? TagOfName(object, record) : 0;
}

ULONG GetNamedPropId(IMAPIProp* object, LONG id, const GUID* propertySet) {
  MAPINAMEID record{};
  record.lpguid = const_cast<GUID*>(propertySet);
  record.ulKind = parvane::mapi::MNID_ID;
  record.Kind.lID = id;
  return TagOfName(object, record);
}

void SetNamedPropLong(IMAPIProp* object, LONG id, const GUID* propertySet, LONG value) {
  if (const ULONG tag = TypedTag(object, id, propertySet, parvane::mapi::PT_LONG))
    SetPropLong(object, tag, value);
}

void SetNamedPropBool(IMAPIProp* object, LONG id, const GUID* propertySet, std::int32_t value) {
  if (const ULONG tag = TypedTag(object, id, propertySet, parvane::mapi::PT_BOOLEAN))
    SetPropBool(object, tag, value);
}

void SetNamedPropShort(IMAPIProp* object, LONG id, const GUID* propertySet, std::int16_t value) {
  if (const ULONG tag = TypedTag(object, id, propertySet, parvane::mapi::PT_I2))
    SetPropShort(object, tag, value);
}

void SetNamedPropString(IMAPIProp* object, LONG id, const GUID* propertySet, const char16_t* text) {
  if (const ULONG tag = TypedTag(object, id, propertySet, parvane::mapi::PT_UNICODE))
    SetPropString(object, tag, text);
}

void SetNamedPropTime(IMAPIProp* object, LONG id, const GUID* propertySet, const FILETIME& time) {
  if (const ULONG tag = TypedTag(object, id, propertySet, parvane::mapi::PT_SYSTIME))
    SetPropTime(object, tag, time);
}

void SetNamedPropBin(IMAPIProp* object, LONG id, const GUID* propertySet, ULONG size,
                     const void* bytes) {
  if (const ULONG tag = TypedTag(object, id, propertySet, parvane::mapi::PT_BINARY))
    SetPropBin(object, tag, size, bytes);
}

void SetNamedPropMVString(IMAPIProp* object, LONG id, const GUID* propertySet,
                          const std::vector<std::string>& strings) {
  if (const ULONG tag = TypedTag(object, id, propertySet, parvane::mapi::PT_MV_UNICODE))
    SetPropMVString(object, tag, strings);
}

}  // namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities
