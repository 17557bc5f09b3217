// Interface, property-set and provider identifiers.
#pragma once

#include "mapi/types.h"

namespace parvane::mapi {

// {value-0000-0000-C000-000000000046}, the form of most published identifiers.
constexpr GUID OleGuid(std::uint32_t value) {
  return {value, 0, 0, {0xC0, 0, 0, 0, 0, 0, 0, 0x46}};
}

inline constexpr IID IID_IUnknown = OleGuid(0x00000000);
inline constexpr IID IID_IStream = OleGuid(0x0000000C);
inline constexpr IID IID_IMAPISession = OleGuid(0x00020300);
inline constexpr IID IID_IMAPITable = OleGuid(0x00020301);
inline constexpr IID IID_IMAPIProp = OleGuid(0x00020303);
inline constexpr IID IID_IProfSect = OleGuid(0x00020304);
inline constexpr IID IID_IMsgStore = OleGuid(0x00020306);
inline constexpr IID IID_IMessage = OleGuid(0x00020307);
inline constexpr IID IID_IAttachment = OleGuid(0x00020308);
inline constexpr IID IID_IAddrBook = OleGuid(0x00020309);
inline constexpr IID IID_IMailUser = OleGuid(0x0002030A);
inline constexpr IID IID_IMAPIContainer = OleGuid(0x0002030B);
inline constexpr IID IID_IMAPIFolder = OleGuid(0x0002030C);
inline constexpr IID IID_IProfAdmin = OleGuid(0x0002031C);
inline constexpr IID IID_IMsgServiceAdmin = OleGuid(0x0002031D);
inline constexpr IID IID_IStreamDocfile = OleGuid(0x0002032C);
inline constexpr IID IID_ISequentialStream = {
    0x0C733A30, 0x2A1C, 0x11CE, {0xAD, 0xE5, 0x00, 0xAA, 0x00, 0x44, 0x77, 0x3D}};

// Sets of named properties
inline constexpr GUID PS_MAPI = OleGuid(0x00020328);
inline constexpr GUID PS_PUBLIC_STRINGS = OleGuid(0x00020329);
inline constexpr GUID PS_INTERNET_HEADERS = OleGuid(0x00020386);
inline constexpr GUID PSETID_Task = OleGuid(0x00062003);
inline constexpr GUID PSETID_Common = OleGuid(0x00062008);

// The provider of personal folder files, in PR_MDB_PROVIDER and in the entry ids of its stores.
inline constexpr MAPIUID kPersonalFolderProvider = {{0x4E, 0x49, 0x54, 0x41, 0xF9, 0xBF, 0xB8, 0x01,
                                                     0x00, 0xAA, 0x00, 0x37, 0xD9, 0x6E, 0x00,
                                                     0x00}};
// The one of one-off entry ids.
inline constexpr MAPIUID kOneOffProvider = {{0x81, 0x2B, 0x1F, 0xA4, 0xBE, 0xA3, 0x10, 0x19, 0x9D,
                                             0x6E, 0x00, 0xDD, 0x01, 0x0F, 0x54, 0x02}};
// The one of wrapped store entry ids.
inline constexpr MAPIUID kStoreWrapper = {{0x38, 0xA1, 0xBB, 0x10, 0x05, 0xE5, 0x10, 0x1A, 0xA1,
                                           0xBB, 0x08, 0x00, 0x2B, 0x2A, 0x56, 0xC2}};

}  // namespace parvane::mapi
