// Flags and enumerated values of Extended MAPI, under their published names.
#pragma once

#include "mapi/types.h"

namespace parvane::mapi {

// Flags of calls
inline constexpr ULONG MAPI_MODIFY = 1;
inline constexpr ULONG MAPI_CREATE = 2;
inline constexpr ULONG STREAM_APPEND = 4;
inline constexpr ULONG MAPI_DEFERRED_ERRORS = 8;
inline constexpr ULONG MAPI_DIALOG = 8;
inline constexpr ULONG MAPI_BEST_ACCESS = 0x10;
inline constexpr ULONG MAPI_ASSOCIATED = 0x40;
inline constexpr ULONG MAPI_USE_DEFAULT = 0x40;
inline constexpr ULONG MAPI_UNICODE = 0x80000000;
inline constexpr ULONG KEEP_OPEN_READONLY = 1;
inline constexpr ULONG KEEP_OPEN_READWRITE = 2;
inline constexpr ULONG FORCE_SAVE = 4;
inline constexpr ULONG OPEN_IF_EXISTS = 1;
inline constexpr ULONG CONVENIENT_DEPTH = 1;
inline constexpr ULONG MAPI_NO_STRINGS = 1;
inline constexpr ULONG MAPI_NO_IDS = 2;
inline constexpr ULONG MAPI_DEFAULT_SERVICES = 1;
inline constexpr ULONG AB_NO_DIALOG = 1;
inline constexpr ULONG MAPI_SEND_NO_RICH_INFO = 0x10000;
inline constexpr ULONG MAPI_MULTITHREAD_NOTIFICATIONS = 1;
inline constexpr ULONG MAPI_NO_COINIT = 8;
inline constexpr ULONG MAPI_NT_SERVICE = 0x10000;

// Logging on and off
inline constexpr ULONG MAPI_LOGON_UI = 1;
inline constexpr ULONG MAPI_NEW_SESSION = 2;
inline constexpr ULONG MAPI_ALLOW_OTHERS = 8;
inline constexpr ULONG MAPI_EXPLICIT_PROFILE = 0x10;
inline constexpr ULONG MAPI_EXTENDED = 0x20;
inline constexpr ULONG MAPI_NO_MAIL = 0x8000;
inline constexpr ULONG MAPI_PASSWORD_UI = 0x20000;
inline constexpr ULONG MAPI_TIMEOUT_SHORT = 0x100000;
inline constexpr ULONG MAPI_BG_SESSION = 0x200000;
inline constexpr ULONG MAPI_LOGOFF_SHARED = 1;
inline constexpr ULONG MAPI_LOGOFF_UI = 2;

// Opening a store
inline constexpr ULONG MDB_NO_DIALOG = 1;
inline constexpr ULONG MDB_WRITE = 4;
inline constexpr ULONG MDB_TEMPORARY = 0x20;
inline constexpr ULONG MDB_NO_MAIL = 0x80;

// Message services
inline constexpr ULONG SERVICE_UI_ALWAYS = 2;
inline constexpr ULONG SERVICE_UI_ALLOWED = 0x10;
inline constexpr ULONG SERVICE_NO_RESTART_WARNING = 0x80;
inline constexpr ULONG SERVICE_DEFAULT_STORE = 1;
inline constexpr ULONG SERVICE_SINGLE_COPY = 2;
inline constexpr ULONG SERVICE_NO_PRIMARY_IDENTITY = 0x20;
inline constexpr ULONG STATUS_DEFAULT_STORE = 2;
inline constexpr ULONG STATUS_NO_DEFAULT_STORE = 0x40;
inline constexpr ULONG STATUS_TEMP_SECTION = 0x80;
inline constexpr ULONG MAPI_STORE_PROVIDER = 33;

// Folders
inline constexpr ULONG FOLDER_ROOT = 0;
inline constexpr ULONG FOLDER_GENERIC = 1;
inline constexpr ULONG FOLDER_SEARCH = 2;
inline constexpr ULONG FOLDER_IPM_SUBTREE_VALID = 1;
inline constexpr ULONG FOLDER_IPM_INBOX_VALID = 2;
inline constexpr ULONG FOLDER_IPM_OUTBOX_VALID = 4;
inline constexpr ULONG FOLDER_IPM_WASTEBASKET_VALID = 8;
inline constexpr ULONG FOLDER_IPM_SENTMAIL_VALID = 0x10;
inline constexpr ULONG FOLDER_VIEWS_VALID = 0x20;
inline constexpr ULONG FOLDER_COMMON_VIEWS_VALID = 0x40;
inline constexpr ULONG FOLDER_FINDER_VALID = 0x80;
inline constexpr ULONG DEL_MESSAGES = 1;
inline constexpr ULONG DEL_FOLDERS = 4;
inline constexpr ULONG DEL_ASSOCIATED = 8;

// Recipients
inline constexpr ULONG MODRECIP_ADD = 2;
inline constexpr ULONG MODRECIP_MODIFY = 4;
inline constexpr ULONG MODRECIP_REMOVE = 8;
inline constexpr ULONG MAPI_ORIG = 0;
inline constexpr ULONG MAPI_TO = 1;
inline constexpr ULONG MAPI_CC = 2;
inline constexpr ULONG MAPI_BCC = 3;
inline constexpr ULONG MAPI_P1 = 0x10000000;
inline constexpr ULONG MAPI_SUBMITTED = 0x80000000;

// Named properties
inline constexpr ULONG MNID_ID = 0;
inline constexpr ULONG MNID_STRING = 1;

// Tables
inline constexpr ULONG TBL_ASYNC = 1;
inline constexpr ULONG TBL_NOWAIT = 1;
inline constexpr ULONG TBL_BATCH = 2;
inline constexpr ULONG TBL_NOADVANCE = 1;
inline constexpr ULONG TBL_ALL_COLUMNS = 1;
inline constexpr ULONG DIR_BACKWARD = 1;
inline constexpr ULONG TBLSTAT_COMPLETE = 0;
inline constexpr ULONG TBLTYPE_SNAPSHOT = 0;
inline constexpr ULONG TBLTYPE_DYNAMIC = 2;
inline constexpr ULONG TABLE_SORT_ASCEND = 0;
inline constexpr ULONG TABLE_SORT_DESCEND = 1;
inline constexpr ULONG TABLE_SORT_COMBINE = 2;

// Restrictions
inline constexpr ULONG RES_AND = 0;
inline constexpr ULONG RES_OR = 1;
inline constexpr ULONG RES_NOT = 2;
inline constexpr ULONG RES_CONTENT = 3;
inline constexpr ULONG RES_PROPERTY = 4;
inline constexpr ULONG RES_COMPAREPROPS = 5;
inline constexpr ULONG RES_BITMASK = 6;
inline constexpr ULONG RES_SIZE = 7;
inline constexpr ULONG RES_EXIST = 8;
inline constexpr ULONG RES_SUBRESTRICTION = 9;
inline constexpr ULONG RES_COMMENT = 10;
inline constexpr ULONG RES_COUNT = 11;
inline constexpr ULONG RES_ANNOTATION = 12;

// Object and display types
inline constexpr ULONG MAPI_STORE = 1;
inline constexpr ULONG MAPI_ADDRBOOK = 2;
inline constexpr ULONG MAPI_FOLDER = 3;
inline constexpr ULONG MAPI_ABCONT = 4;
inline constexpr ULONG MAPI_MESSAGE = 5;
inline constexpr ULONG MAPI_MAILUSER = 6;
inline constexpr ULONG MAPI_ATTACH = 7;
inline constexpr ULONG MAPI_DISTLIST = 8;
inline constexpr ULONG MAPI_PROFSECT = 9;
inline constexpr ULONG MAPI_STATUS = 10;
inline constexpr ULONG MAPI_SESSION = 11;
inline constexpr ULONG MAPI_FORMINFO = 12;
inline constexpr ULONG DT_MAILUSER = 0;
inline constexpr ULONG DT_DISTLIST = 1;
inline constexpr ULONG DT_FOLDER = 0x01000000;

// PR_ACCESS
inline constexpr ULONG MAPI_ACCESS_MODIFY = 1;
inline constexpr ULONG MAPI_ACCESS_READ = 2;
inline constexpr ULONG MAPI_ACCESS_DELETE = 4;
inline constexpr ULONG MAPI_ACCESS_CREATE_HIERARCHY = 8;
inline constexpr ULONG MAPI_ACCESS_CREATE_CONTENTS = 0x10;
inline constexpr ULONG MAPI_ACCESS_CREATE_ASSOCIATED = 0x20;

// PR_ATTACH_METHOD and PR_ATTACH_FLAGS
inline constexpr ULONG NO_ATTACHMENT = 0;
inline constexpr ULONG ATTACH_BY_VALUE = 1;
inline constexpr ULONG ATTACH_BY_REFERENCE = 2;
inline constexpr ULONG ATTACH_BY_REF_RESOLVE = 3;
inline constexpr ULONG ATTACH_BY_REF_ONLY = 4;
inline constexpr ULONG ATTACH_EMBEDDED_MSG = 5;
inline constexpr ULONG ATTACH_OLE = 6;
inline constexpr ULONG ATTACH_BY_WEBREFERENCE = 7;
inline constexpr ULONG ATT_INVISIBLE_IN_HTML = 1;
inline constexpr ULONG ATT_INVISIBLE_IN_RTF = 2;
inline constexpr ULONG ATT_MHTML_REF = 4;

// PR_MESSAGE_FLAGS
inline constexpr ULONG MSGFLAG_READ = 1;
inline constexpr ULONG MSGFLAG_UNMODIFIED = 2;
inline constexpr ULONG MSGFLAG_SUBMIT = 4;
inline constexpr ULONG MSGFLAG_UNSENT = 8;
inline constexpr ULONG MSGFLAG_HASATTACH = 0x10;
inline constexpr ULONG MSGFLAG_FROMME = 0x20;
inline constexpr ULONG MSGFLAG_ASSOCIATED = 0x40;
inline constexpr ULONG MSGFLAG_RESEND = 0x80;
inline constexpr ULONG MSGFLAG_RN_PENDING = 0x100;
inline constexpr ULONG MSGFLAG_NRN_PENDING = 0x200;
inline constexpr ULONG MSGFLAG_ORIGIN_X400 = 0x1000;
inline constexpr ULONG MSGFLAG_ORIGIN_INTERNET = 0x2000;
inline constexpr ULONG MSGFLAG_ORIGIN_MISC_EXT = 0x8000;
inline constexpr ULONG CLEAR_READ_FLAG = 4;

// PR_IMPORTANCE, PR_PRIORITY, PR_SENSITIVITY (signed)
inline constexpr LONG IMPORTANCE_LOW = 0;
inline constexpr LONG IMPORTANCE_NORMAL = 1;
inline constexpr LONG IMPORTANCE_HIGH = 2;
inline constexpr LONG PRIO_NONURGENT = -1;
inline constexpr LONG PRIO_NORMAL = 0;
inline constexpr LONG PRIO_URGENT = 1;
inline constexpr LONG SENSITIVITY_NONE = 0;
inline constexpr LONG SENSITIVITY_PERSONAL = 1;
inline constexpr LONG SENSITIVITY_PRIVATE = 2;
inline constexpr LONG SENSITIVITY_COMPANY_CONFIDENTIAL = 3;

// PR_STORE_SUPPORT_MASK
inline constexpr ULONG STORE_ENTRYID_UNIQUE = 1;
inline constexpr ULONG STORE_READONLY = 2;
inline constexpr ULONG STORE_SEARCH_OK = 4;
inline constexpr ULONG STORE_MODIFY_OK = 8;
inline constexpr ULONG STORE_CREATE_OK = 0x10;
inline constexpr ULONG STORE_ATTACH_OK = 0x20;
inline constexpr ULONG STORE_OLE_OK = 0x40;
inline constexpr ULONG STORE_SUBMIT_OK = 0x80;
inline constexpr ULONG STORE_NOTIFY_OK = 0x100;
inline constexpr ULONG STORE_MV_PROPS_OK = 0x200;
inline constexpr ULONG STORE_CATEGORIZE_OK = 0x400;
inline constexpr ULONG STORE_RTF_OK = 0x800;
inline constexpr ULONG STORE_RESTRICTION_OK = 0x1000;
inline constexpr ULONG STORE_SORT_OK = 0x2000;
inline constexpr ULONG STORE_PUBLIC_FOLDERS = 0x4000;
inline constexpr ULONG STORE_UNCOMPRESSED_RTF = 0x8000;
inline constexpr ULONG STORE_HTML_OK = 0x10000;
inline constexpr ULONG STORE_ANSI_OK = 0x20000;
inline constexpr ULONG STORE_UNICODE_OK = 0x40000;

// Streams
inline constexpr ULONG STGM_READ = 0;
inline constexpr ULONG STGM_WRITE = 1;
inline constexpr ULONG STGM_READWRITE = 2;
inline constexpr ULONG STGM_SHARE_EXCLUSIVE = 0x10;
inline constexpr ULONG STGM_SHARE_DENY_NONE = 0x40;
inline constexpr ULONG STGM_CREATE = 0x1000;
inline constexpr ULONG STGM_TRANSACTED = 0x10000;
inline constexpr ULONG STREAM_SEEK_SET = 0;
inline constexpr ULONG STREAM_SEEK_CUR = 1;
inline constexpr ULONG STREAM_SEEK_END = 2;
inline constexpr ULONG STGC_DEFAULT = 0;
inline constexpr ULONG STGC_OVERWRITE = 1;
inline constexpr ULONG STGC_ONLYIFCURRENT = 2;
inline constexpr ULONG STATFLAG_DEFAULT = 0;
inline constexpr ULONG STATFLAG_NONAME = 1;
inline constexpr ULONG STGTY_STREAM = 2;

// The personal folder service
inline constexpr ULONG PSTF_NO_ENCRYPTION = 0x80000000;
inline constexpr ULONG PSTF_COMPRESSABLE_ENCRYPTION = 0x40000000;
inline constexpr ULONG PSTF_BEST_ENCRYPTION = 0x20000000;
inline constexpr ULONG PST_CONFIG_UNICODE = 0x80000000;
inline constexpr ULONG PST_CONFIG_CREATE_NOWARN = 1;
inline constexpr ULONG PST_CONFIG_PRESERVE_DISPLAY_NAME = 2;

// One-off entry identifiers
inline constexpr ULONG MAPI_ONE_OFF_UNICODE = 0x8000;
inline constexpr ULONG MAPI_ONE_OFF_NO_RICH_INFO = 1;

inline constexpr BOOKMARK BOOKMARK_BEGINNING = 0;
inline constexpr BOOKMARK BOOKMARK_CURRENT = 1;
inline constexpr BOOKMARK BOOKMARK_END = 2;

}  // namespace parvane::mapi
