// Strings and entry identifiers as the converter and the PST service handle them.
#pragma once

#include <string>

#include "mapi/structures.h"

namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities {

// Remove white space at both ends, in place.
void TrimStringW(std::u16string& text);
void TrimString(std::string& text);

// Converts UTF-8 to UTF-16, up to the first zero.
void stringTowstring(const std::string& text, std::u16string& wide);

// Copies an entry identifier into memory of MAPI's; null in `out` when there is no memory.
void CloneEntryId(parvane::mapi::ULONG size, const void* bytes, parvane::mapi::SBinary** out);
// Frees what CloneEntryId made and sets the caller's pointer to null; null is accepted.
void DeleteEntryId(parvane::mapi::SBinary** entryId);

// Converts nothing and returns 0: a plain body is written only when the message has one.
int ConvertHTMLToPlainText(const std::u16string& html, std::u16string& plainText);

}  // namespace QuelmarMIMEEngineCommon::OrvMAPIUtilities
