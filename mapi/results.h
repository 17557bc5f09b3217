// Results of MAPI and stream calls, under their published names.
#pragma once

#include "mapi/types.h"

namespace parvane::mapi {

constexpr HRESULT MakeResult(std::uint32_t bits) { return static_cast<HRESULT>(bits); }

inline constexpr HRESULT S_OK = 0;
inline constexpr HRESULT S_FALSE = 1;
inline constexpr HRESULT E_FAIL = MakeResult(0x80004005);
inline constexpr HRESULT E_OUTOFMEMORY = MakeResult(0x8007000E);
inline constexpr HRESULT E_INVALIDARG = MakeResult(0x80070057);
inline constexpr HRESULT E_NOINTERFACE = MakeResult(0x80004002);
inline constexpr HRESULT E_ACCESSDENIED = MakeResult(0x80070005);
inline constexpr HRESULT E_NOTIMPL = MakeResult(0x80004001);
inline constexpr HRESULT E_POINTER = MakeResult(0x80004003);
inline constexpr HRESULT E_UNEXPECTED = MakeResult(0x8000FFFF);

inline constexpr HRESULT MAPI_E_CALL_FAILED = E_FAIL;
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_MEMORY = E_OUTOFMEMORY;
inline constexpr HRESULT MAPI_E_INVALID_PARAMETER = E_INVALIDARG;
inline constexpr HRESULT MAPI_E_INTERFACE_NOT_SUPPORTED = E_NOINTERFACE;
inline constexpr HRESULT MAPI_E_NO_ACCESS = E_ACCESSDENIED;
inline constexpr HRESULT MAPI_E_NO_SUPPORT = MakeResult(0x80040102);
inline constexpr HRESULT MAPI_E_BAD_CHARWIDTH = MakeResult(0x80040103);
inline constexpr HRESULT MAPI_E_STRING_TOO_LONG = MakeResult(0x80040105);
inline constexpr HRESULT MAPI_E_UNKNOWN_FLAGS = MakeResult(0x80040106);
inline constexpr HRESULT MAPI_E_INVALID_ENTRYID = MakeResult(0x80040107);
inline constexpr HRESULT MAPI_E_INVALID_OBJECT = MakeResult(0x80040108);
inline constexpr HRESULT MAPI_E_OBJECT_CHANGED = MakeResult(0x80040109);
inline constexpr HRESULT MAPI_E_OBJECT_DELETED = MakeResult(0x8004010A);
inline constexpr HRESULT MAPI_E_BUSY = MakeResult(0x8004010B);
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_DISK = MakeResult(0x8004010D);
inline constexpr HRESULT MAPI_E_NOT_ENOUGH_RESOURCES = MakeResult(0x8004010E);
inline constexpr HRESULT MAPI_E_NOT_FOUND = MakeResult(0x8004010F);
inline constexpr HRESULT MAPI_E_VERSION = MakeResult(0x80040110);
inline constexpr HRESULT MAPI_E_LOGON_FAILED = MakeResult(0x80040111);
inline constexpr HRESULT MAPI_E_USER_CANCEL = MakeResult(0x80040113);
inline constexpr HRESULT MAPI_E_DISK_ERROR = MakeResult(0x80040116);
inline constexpr HRESULT MAPI_E_TOO_COMPLEX = MakeResult(0x80040117);
inline constexpr HRESULT MAPI_E_BAD_COLUMN = MakeResult(0x80040118);
inline constexpr HRESULT MAPI_E_EXTENDED_ERROR = MakeResult(0x80040119);
inline constexpr HRESULT MAPI_E_COMPUTED = MakeResult(0x8004011A);
inline constexpr HRESULT MAPI_E_CORRUPT_DATA = MakeResult(0x8004011B);
inline constexpr HRESULT MAPI_E_UNCONFIGURED = MakeResult(0x8004011C);
inline constexpr HRESULT MAPI_E_END_OF_SESSION = MakeResult(0x80040200);
inline constexpr HRESULT MAPI_E_UNKNOWN_ENTRYID = MakeResult(0x80040201);
inline constexpr HRESULT MAPI_E_BAD_VALUE = MakeResult(0x80040301);
inline constexpr HRESULT MAPI_E_INVALID_TYPE = MakeResult(0x80040302);
inline constexpr HRESULT MAPI_E_TYPE_NO_SUPPORT = MakeResult(0x80040303);
inline constexpr HRESULT MAPI_E_UNEXPECTED_TYPE = MakeResult(0x80040304);
inline constexpr HRESULT MAPI_E_TOO_BIG = MakeResult(0x80040305);
inline constexpr HRESULT MAPI_E_UNEXPECTED_ID = MakeResult(0x80040307);
inline constexpr HRESULT MAPI_E_UNABLE_TO_COMPLETE = MakeResult(0x80040400);
inline constexpr HRESULT MAPI_E_TIMEOUT = MakeResult(0x80040401);
inline constexpr HRESULT MAPI_E_TABLE_TOO_BIG = MakeResult(0x80040403);
inline constexpr HRESULT MAPI_E_INVALID_BOOKMARK = MakeResult(0x80040405);
inline constexpr HRESULT MAPI_E_CORRUPT_STORE = MakeResult(0x80040600);
inline constexpr HRESULT MAPI_E_COLLISION = MakeResult(0x80040604);
inline constexpr HRESULT MAPI_E_NOT_INITIALIZED = MakeResult(0x80040605);
inline constexpr HRESULT MAPI_E_HAS_FOLDERS = MakeResult(0x80040609);
inline constexpr HRESULT MAPI_E_HAS_MESSAGES = MakeResult(0x8004060A);
inline constexpr HRESULT MAPI_E_FOLDER_CYCLE = MakeResult(0x8004060B);
inline constexpr HRESULT MAPI_E_STORE_FULL = MakeResult(0x8004060C);

// Warnings: the call succeeded, not in full.
inline constexpr HRESULT MAPI_W_NO_SERVICE = MakeResult(0x00040203);
inline constexpr HRESULT MAPI_W_ERRORS_RETURNED = MakeResult(0x00040380);
inline constexpr HRESULT MAPI_W_PARTIAL_COMPLETION = MakeResult(0x00040680);

// Streams
inline constexpr HRESULT STG_E_INVALIDFUNCTION = MakeResult(0x80030001);
inline constexpr HRESULT STG_E_FILENOTFOUND = MakeResult(0x80030002);
inline constexpr HRESULT STG_E_ACCESSDENIED = MakeResult(0x80030005);
inline constexpr HRESULT STG_E_INSUFFICIENTMEMORY = MakeResult(0x80030008);
inline constexpr HRESULT STG_E_INVALIDPOINTER = MakeResult(0x80030009);
inline constexpr HRESULT STG_E_SEEKERROR = MakeResult(0x80030019);
inline constexpr HRESULT STG_E_WRITEFAULT = MakeResult(0x8003001D);
inline constexpr HRESULT STG_E_READFAULT = MakeResult(0x8003001E);
inline constexpr HRESULT STG_E_INVALIDPARAMETER = MakeResult(0x80030057);
inline constexpr HRESULT STG_E_MEDIUMFULL = MakeResult(0x80030070);
inline constexpr HRESULT STG_E_INVALIDFLAG = MakeResult(0x800300FF);
inline constexpr HRESULT STG_E_REVERTED = MakeResult(0x80030102);
inline constexpr HRESULT STG_E_CANTSAVE = MakeResult(0x80030103);

}  // namespace parvane::mapi
