// Helpers that set one MAPI property, collect a list of them, or work with named properties.
//
// All are thin and return nothing: a property that cannot be written stays absent, which is noted
// (NoteRefusal in mapi/refusals.h). A null object is skipped. A string property is never written
// empty, so an absent property means "no value".
#pragma once

#include <cstdint>
#include <string>
#include <vector>

#include "mapi/property_object.h"
#include "platform/time.h"

namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities {

using parvane::mapi::FILETIME;
using parvane::mapi::GUID;
using parvane::mapi::IMAPIProp;
using parvane::mapi::LONG;
using parvane::mapi::SBinary;
using parvane::mapi::SPropValue;
using parvane::mapi::ULONG;

// ---- One property, one SetProps ----------------------------------------------------------------

void SetPropLong(IMAPIProp* object, ULONG tag, LONG value);
void SetPropShort(IMAPIProp* object, ULONG tag, std::int16_t value);
void SetPropBool(IMAPIProp* object, ULONG tag, std::int32_t value);
// Nothing when the pointer is null or the string empty.
void SetPropString(IMAPIProp* object, ULONG tag, const char16_t* text);
void SetPropString(IMAPIProp* object, ULONG tag, const char* text);
void SetPropTime(IMAPIProp* object, ULONG tag, const FILETIME& time);
void SetPropBin(IMAPIProp* object, ULONG tag, ULONG size, const void* bytes);
// Nothing when the vector is empty. 8-bit strings are UTF-8.
void SetPropMVString(IMAPIProp* object, ULONG tag, const std::vector<std::u16string>& strings);
void SetPropMVString(IMAPIProp* object, ULONG tag, const std::vector<std::string>& strings);
void SetPropMVBin(IMAPIProp* object, ULONG tag, const std::vector<SBinary>& binaries);

// ---- One value of a list that is written with one call -----------------------------------------

// They point at strings and bytes of the caller.
SPropValue TextOf(ULONG tag, const char16_t* text);
SPropValue BinaryOf(ULONG tag, ULONG size, const void* bytes);
SPropValue NumberOf(ULONG tag, ULONG value);

void SetProperties(IMAPIProp& object, ULONG count, SPropValue* values);

// ---- A list of properties, written later with one call -----------------------------------------

// Its values point at strings and bytes that the caller keeps until the list has been written.
using PropertyList = std::vector<SPropValue>;

void AddProperty_STRW(PropertyList& list, ULONG tag, const char16_t* text);
void AddProperty_ULONG(PropertyList& list, ULONG tag, ULONG value);
void AddProperty_LONG(PropertyList& list, ULONG tag, LONG value);
void AddProperty_BOOL(PropertyList& list, ULONG tag, std::int32_t value);
void AddProperty_BIN(PropertyList& list, ULONG tag, ULONG size, const void* bytes);
// A time that is no time becomes 0.
void AddProperty_TIME(PropertyList& list, ULONG tag, const parvane::platform::SystemTime& time);

// ---- Named properties --------------------------------------------------------------------------

// The tag of a named property, created when it is new; 0 when there is none to be had. Its type
// bits are whatever MAPI returns.
ULONG GetNamedPropId(IMAPIProp* object, const char16_t* name, const GUID* propertySet);
ULONG GetNamedPropId(IMAPIProp* object, LONG id, const GUID* propertySet);

void SetNamedPropLong(IMAPIProp* object, LONG id, const GUID* propertySet, LONG value);
void SetNamedPropBool(IMAPIProp* object, LONG id, const GUID* propertySet, std::int32_t value);
void SetNamedPropShort(IMAPIProp* object, LONG id, const GUID* propertySet, std::int16_t value);
void SetNamedPropString(IMAPIProp* object, LONG id, const GUID* propertySet, const char16_t* text);
void SetNamedPropTime(IMAPIProp* object, LONG id, const GUID* propertySet, const FILETIME& time);
void SetNamedPropBin(IMAPIProp* object, LONG id, const GUID* propertySet, ULONG size,
                     const void* bytes);
void SetNamedPropMVString(IMAPIProp* object, LONG id, const GUID* propertySet,
                          const std::vector<std::string>& strings);

}  // namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities
