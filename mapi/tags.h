// Property tags of Extended MAPI under their published names. A tag is an identifier (high word)
// and a type (low word). Strings come in two tags, _W in UTF-16 and _A in the ANSI code page.
#pragma once

#include "mapi/types.h"

namespace parvane::mapi {

inline constexpr ULONG PT_UNSPECIFIED = 0x0000;
inline constexpr ULONG PT_NULL = 0x0001;
inline constexpr ULONG PT_I2 = 0x0002;
inline constexpr ULONG PT_SHORT = 0x0002;
inline constexpr ULONG PT_LONG = 0x0003;
inline constexpr ULONG PT_R4 = 0x0004;
inline constexpr ULONG PT_DOUBLE = 0x0005;
inline constexpr ULONG PT_CURRENCY = 0x0006;
inline constexpr ULONG PT_APPTIME = 0x0007;
inline constexpr ULONG PT_ERROR = 0x000A;
inline constexpr ULONG PT_BOOLEAN = 0x000B;
inline constexpr ULONG PT_OBJECT = 0x000D;
inline constexpr ULONG PT_I8 = 0x0014;
inline constexpr ULONG PT_STRING8 = 0x001E;
inline constexpr ULONG PT_UNICODE = 0x001F;
inline constexpr ULONG PT_SYSTIME = 0x0040;
inline constexpr ULONG PT_CLSID = 0x0048;
inline constexpr ULONG PT_BINARY = 0x0102;

inline constexpr ULONG MV_FLAG = 0x1000;
inline constexpr ULONG MV_INSTANCE = 0x2000;
inline constexpr ULONG MVI_FLAG = MV_FLAG | MV_INSTANCE;
inline constexpr ULONG PT_MV_I2 = MV_FLAG | PT_I2;
inline constexpr ULONG PT_MV_LONG = MV_FLAG | PT_LONG;
inline constexpr ULONG PT_MV_R4 = MV_FLAG | PT_R4;
inline constexpr ULONG PT_MV_DOUBLE = MV_FLAG | PT_DOUBLE;
inline constexpr ULONG PT_MV_CURRENCY = MV_FLAG | PT_CURRENCY;
inline constexpr ULONG PT_MV_APPTIME = MV_FLAG | PT_APPTIME;
inline constexpr ULONG PT_MV_I8 = MV_FLAG | PT_I8;
inline constexpr ULONG PT_MV_STRING8 = MV_FLAG | PT_STRING8;
inline constexpr ULONG PT_MV_UNICODE = MV_FLAG | PT_UNICODE;
inline constexpr ULONG PT_MV_SYSTIME = MV_FLAG | PT_SYSTIME;
inline constexpr ULONG PT_MV_CLSID = MV_FLAG | PT_CLSID;
inline constexpr ULONG PT_MV_BINARY = MV_FLAG | PT_BINARY;

constexpr ULONG PropTag(ULONG type, ULONG id) { return (id << 16) | type; }
constexpr ULONG PropType(ULONG tag) { return tag & 0xFFFF; }
constexpr ULONG PropId(ULONG tag) { return tag >> 16; }
constexpr ULONG ChangePropType(ULONG tag, ULONG type) { return (tag & 0xFFFF0000) | type; }

inline constexpr ULONG PR_NULL = PropTag(PT_NULL, 0);

// All objects
inline constexpr ULONG PR_ACCESS = PropTag(PT_LONG, 0x0FF4);
inline constexpr ULONG PR_INSTANCE_KEY = PropTag(PT_BINARY, 0x0FF6);
inline constexpr ULONG PR_ACCESS_LEVEL = PropTag(PT_LONG, 0x0FF7);
inline constexpr ULONG PR_MAPPING_SIGNATURE = PropTag(PT_BINARY, 0x0FF8);
inline constexpr ULONG PR_RECORD_KEY = PropTag(PT_BINARY, 0x0FF9);
inline constexpr ULONG PR_STORE_RECORD_KEY = PropTag(PT_BINARY, 0x0FFA);
inline constexpr ULONG PR_STORE_ENTRYID = PropTag(PT_BINARY, 0x0FFB);
inline constexpr ULONG PR_OBJECT_TYPE = PropTag(PT_LONG, 0x0FFE);
inline constexpr ULONG PR_ENTRYID = PropTag(PT_BINARY, 0x0FFF);

// Messages
inline constexpr ULONG PR_IMPORTANCE = PropTag(PT_LONG, 0x0017);
inline constexpr ULONG PR_MESSAGE_CLASS_W = PropTag(PT_UNICODE, 0x001A);
inline constexpr ULONG PR_MESSAGE_CLASS_A = PropTag(PT_STRING8, 0x001A);
inline constexpr ULONG PR_ORIGINATOR_DELIVERY_REPORT_REQUESTED = PropTag(PT_BOOLEAN, 0x0023);
inline constexpr ULONG PR_PRIORITY = PropTag(PT_LONG, 0x0026);
inline constexpr ULONG PR_READ_RECEIPT_REQUESTED = PropTag(PT_BOOLEAN, 0x0029);
inline constexpr ULONG PR_SENSITIVITY = PropTag(PT_LONG, 0x0036);
inline constexpr ULONG PR_SUBJECT_W = PropTag(PT_UNICODE, 0x0037);
inline constexpr ULONG PR_SUBJECT_A = PropTag(PT_STRING8, 0x0037);
inline constexpr ULONG PR_CLIENT_SUBMIT_TIME = PropTag(PT_SYSTIME, 0x0039);
inline constexpr ULONG PR_SUBJECT_PREFIX_W = PropTag(PT_UNICODE, 0x003D);
inline constexpr ULONG PR_SUBJECT_PREFIX_A = PropTag(PT_STRING8, 0x003D);
inline constexpr ULONG PR_REPLY_RECIPIENT_ENTRIES = PropTag(PT_BINARY, 0x004F);
inline constexpr ULONG PR_RESPONSE_REQUESTED = PropTag(PT_BOOLEAN, 0x0063);
inline constexpr ULONG PR_REPLY_RECIPIENT_NAMES_W = PropTag(PT_UNICODE, 0x0050);
inline constexpr ULONG PR_REPLY_RECIPIENT_NAMES_A = PropTag(PT_STRING8, 0x0050);
inline constexpr ULONG PR_CONVERSATION_TOPIC_W = PropTag(PT_UNICODE, 0x0070);
inline constexpr ULONG PR_CONVERSATION_TOPIC_A = PropTag(PT_STRING8, 0x0070);
inline constexpr ULONG PR_CONVERSATION_INDEX = PropTag(PT_BINARY, 0x0071);
inline constexpr ULONG PR_TRANSPORT_MESSAGE_HEADERS_W = PropTag(PT_UNICODE, 0x007D);
inline constexpr ULONG PR_TRANSPORT_MESSAGE_HEADERS_A = PropTag(PT_STRING8, 0x007D);
inline constexpr ULONG PR_REPLY_REQUESTED = PropTag(PT_BOOLEAN, 0x0C17);
inline constexpr ULONG PR_DISPLAY_BCC_W = PropTag(PT_UNICODE, 0x0E02);
inline constexpr ULONG PR_DISPLAY_BCC_A = PropTag(PT_STRING8, 0x0E02);
inline constexpr ULONG PR_DISPLAY_CC_W = PropTag(PT_UNICODE, 0x0E03);
inline constexpr ULONG PR_DISPLAY_CC_A = PropTag(PT_STRING8, 0x0E03);
inline constexpr ULONG PR_DISPLAY_TO_W = PropTag(PT_UNICODE, 0x0E04);
inline constexpr ULONG PR_DISPLAY_TO_A = PropTag(PT_STRING8, 0x0E04);
inline constexpr ULONG PR_MESSAGE_DELIVERY_TIME = PropTag(PT_SYSTIME, 0x0E06);
inline constexpr ULONG PR_MESSAGE_FLAGS = PropTag(PT_LONG, 0x0E07);
inline constexpr ULONG PR_MESSAGE_SIZE = PropTag(PT_LONG, 0x0E08);
inline constexpr ULONG PR_PARENT_ENTRYID = PropTag(PT_BINARY, 0x0E09);
inline constexpr ULONG PR_MESSAGE_RECIPIENTS = PropTag(PT_OBJECT, 0x0E12);
inline constexpr ULONG PR_MESSAGE_ATTACHMENTS = PropTag(PT_OBJECT, 0x0E13);
inline constexpr ULONG PR_MSG_STATUS = PropTag(PT_LONG, 0x0E17);
inline constexpr ULONG PR_HASATTACH = PropTag(PT_BOOLEAN, 0x0E1B);
inline constexpr ULONG PR_NORMALIZED_SUBJECT_W = PropTag(PT_UNICODE, 0x0E1D);
inline constexpr ULONG PR_NORMALIZED_SUBJECT_A = PropTag(PT_STRING8, 0x0E1D);
inline constexpr ULONG PR_RTF_IN_SYNC = PropTag(PT_BOOLEAN, 0x0E1F);
inline constexpr ULONG PR_TODO_ITEM_FLAGS = PropTag(PT_LONG, 0x0E2B);
inline constexpr ULONG PR_BODY_W = PropTag(PT_UNICODE, 0x1000);
inline constexpr ULONG PR_BODY_A = PropTag(PT_STRING8, 0x1000);
inline constexpr ULONG PR_RTF_COMPRESSED = PropTag(PT_BINARY, 0x1009);
inline constexpr ULONG PR_HTML = PropTag(PT_BINARY, 0x1013);
inline constexpr ULONG PR_BODY_HTML_A = PropTag(PT_STRING8, 0x1013);
inline constexpr ULONG PR_BODY_HTML_W = PropTag(PT_UNICODE, 0x1013);
inline constexpr ULONG PR_NATIVE_BODY_INFO = PropTag(PT_LONG, 0x1016);
inline constexpr ULONG PR_INTERNET_MESSAGE_ID_W = PropTag(PT_UNICODE, 0x1035);
inline constexpr ULONG PR_INTERNET_MESSAGE_ID_A = PropTag(PT_STRING8, 0x1035);
inline constexpr ULONG PR_INTERNET_REFERENCES_W = PropTag(PT_UNICODE, 0x1039);
inline constexpr ULONG PR_INTERNET_REFERENCES_A = PropTag(PT_STRING8, 0x1039);
inline constexpr ULONG PR_IN_REPLY_TO_W = PropTag(PT_UNICODE, 0x1042);
inline constexpr ULONG PR_IN_REPLY_TO_A = PropTag(PT_STRING8, 0x1042);
inline constexpr ULONG PR_ICON_INDEX = PropTag(PT_LONG, 0x1080);
inline constexpr ULONG PR_LAST_VERB_EXECUTED = PropTag(PT_LONG, 0x1081);
inline constexpr ULONG PR_FLAG_STATUS = PropTag(PT_LONG, 0x1090);
inline constexpr ULONG PR_FOLLOWUP_ICON = PropTag(PT_LONG, 0x1095);
inline constexpr ULONG PR_CREATION_TIME = PropTag(PT_SYSTIME, 0x3007);
inline constexpr ULONG PR_LAST_MODIFICATION_TIME = PropTag(PT_SYSTIME, 0x3008);
inline constexpr ULONG PR_SEARCH_KEY = PropTag(PT_BINARY, 0x300B);
inline constexpr ULONG PR_INTERNET_CPID = PropTag(PT_LONG, 0x3FDE);
inline constexpr ULONG PR_MESSAGE_LOCALE_ID = PropTag(PT_LONG, 0x3FF1);
inline constexpr ULONG PR_MESSAGE_CODEPAGE = PropTag(PT_LONG, 0x3FFD);

// Address sets
inline constexpr ULONG PR_SENDER_ENTRYID = PropTag(PT_BINARY, 0x0C19);
inline constexpr ULONG PR_SENDER_NAME_W = PropTag(PT_UNICODE, 0x0C1A);
inline constexpr ULONG PR_SENDER_NAME_A = PropTag(PT_STRING8, 0x0C1A);
inline constexpr ULONG PR_SENDER_SEARCH_KEY = PropTag(PT_BINARY, 0x0C1D);
inline constexpr ULONG PR_SENDER_ADDRTYPE_W = PropTag(PT_UNICODE, 0x0C1E);
inline constexpr ULONG PR_SENDER_ADDRTYPE_A = PropTag(PT_STRING8, 0x0C1E);
inline constexpr ULONG PR_SENDER_EMAIL_ADDRESS_W = PropTag(PT_UNICODE, 0x0C1F);
inline constexpr ULONG PR_SENDER_EMAIL_ADDRESS_A = PropTag(PT_STRING8, 0x0C1F);
inline constexpr ULONG PR_SENDER_SMTP_ADDRESS_W = PropTag(PT_UNICODE, 0x5D01);
inline constexpr ULONG PR_SENDER_SMTP_ADDRESS_A = PropTag(PT_STRING8, 0x5D01);
inline constexpr ULONG PR_SENT_REPRESENTING_ENTRYID = PropTag(PT_BINARY, 0x0041);
inline constexpr ULONG PR_SENT_REPRESENTING_NAME_W = PropTag(PT_UNICODE, 0x0042);
inline constexpr ULONG PR_SENT_REPRESENTING_NAME_A = PropTag(PT_STRING8, 0x0042);
inline constexpr ULONG PR_SENT_REPRESENTING_SEARCH_KEY = PropTag(PT_BINARY, 0x003B);
inline constexpr ULONG PR_SENT_REPRESENTING_ADDRTYPE_W = PropTag(PT_UNICODE, 0x0064);
inline constexpr ULONG PR_SENT_REPRESENTING_ADDRTYPE_A = PropTag(PT_STRING8, 0x0064);
inline constexpr ULONG PR_SENT_REPRESENTING_EMAIL_ADDRESS_W = PropTag(PT_UNICODE, 0x0065);
inline constexpr ULONG PR_SENT_REPRESENTING_EMAIL_ADDRESS_A = PropTag(PT_STRING8, 0x0065);
inline constexpr ULONG PR_SENT_REPRESENTING_SMTP_ADDRESS_W = PropTag(PT_UNICODE, 0x5D02);
inline constexpr ULONG PR_SENT_REPRESENTING_SMTP_ADDRESS_A = PropTag(PT_STRING8, 0x5D02);
inline constexpr ULONG PR_RECEIVED_BY_ENTRYID = PropTag(PT_BINARY, 0x003F);
inline constexpr ULONG PR_RECEIVED_BY_NAME_W = PropTag(PT_UNICODE, 0x0040);
inline constexpr ULONG PR_RECEIVED_BY_NAME_A = PropTag(PT_STRING8, 0x0040);
inline constexpr ULONG PR_RECEIVED_BY_SEARCH_KEY = PropTag(PT_BINARY, 0x0051);
inline constexpr ULONG PR_RECEIVED_BY_ADDRTYPE_W = PropTag(PT_UNICODE, 0x0075);
inline constexpr ULONG PR_RECEIVED_BY_ADDRTYPE_A = PropTag(PT_STRING8, 0x0075);
inline constexpr ULONG PR_RECEIVED_BY_EMAIL_ADDRESS_W = PropTag(PT_UNICODE, 0x0076);
inline constexpr ULONG PR_RECEIVED_BY_EMAIL_ADDRESS_A = PropTag(PT_STRING8, 0x0076);
inline constexpr ULONG PR_RECEIVED_BY_SMTP_ADDRESS_W = PropTag(PT_UNICODE, 0x5D07);
inline constexpr ULONG PR_RECEIVED_BY_SMTP_ADDRESS_A = PropTag(PT_STRING8, 0x5D07);
inline constexpr ULONG PR_RCVD_REPRESENTING_ENTRYID = PropTag(PT_BINARY, 0x0043);
inline constexpr ULONG PR_RCVD_REPRESENTING_NAME_W = PropTag(PT_UNICODE, 0x0044);
inline constexpr ULONG PR_RCVD_REPRESENTING_NAME_A = PropTag(PT_STRING8, 0x0044);
inline constexpr ULONG PR_RCVD_REPRESENTING_SEARCH_KEY = PropTag(PT_BINARY, 0x0052);
inline constexpr ULONG PR_RCVD_REPRESENTING_ADDRTYPE_W = PropTag(PT_UNICODE, 0x0077);
inline constexpr ULONG PR_RCVD_REPRESENTING_ADDRTYPE_A = PropTag(PT_STRING8, 0x0077);
inline constexpr ULONG PR_RCVD_REPRESENTING_EMAIL_ADDRESS_W = PropTag(PT_UNICODE, 0x0078);
inline constexpr ULONG PR_RCVD_REPRESENTING_EMAIL_ADDRESS_A = PropTag(PT_STRING8, 0x0078);
inline constexpr ULONG PR_RCVD_REPRESENTING_SMTP_ADDRESS_W = PropTag(PT_UNICODE, 0x5D08);
inline constexpr ULONG PR_RCVD_REPRESENTING_SMTP_ADDRESS_A = PropTag(PT_STRING8, 0x5D08);

// Recipient rows
inline constexpr ULONG PR_RECIPIENT_TYPE = PropTag(PT_LONG, 0x0C15);
inline constexpr ULONG PR_RESPONSIBILITY = PropTag(PT_BOOLEAN, 0x0E0F);
inline constexpr ULONG PR_ROWID = PropTag(PT_LONG, 0x3000);
inline constexpr ULONG PR_DISPLAY_NAME_W = PropTag(PT_UNICODE, 0x3001);
inline constexpr ULONG PR_DISPLAY_NAME_A = PropTag(PT_STRING8, 0x3001);
inline constexpr ULONG PR_ADDRTYPE_W = PropTag(PT_UNICODE, 0x3002);
inline constexpr ULONG PR_ADDRTYPE_A = PropTag(PT_STRING8, 0x3002);
inline constexpr ULONG PR_EMAIL_ADDRESS_W = PropTag(PT_UNICODE, 0x3003);
inline constexpr ULONG PR_EMAIL_ADDRESS_A = PropTag(PT_STRING8, 0x3003);
inline constexpr ULONG PR_DISPLAY_TYPE = PropTag(PT_LONG, 0x3900);
inline constexpr ULONG PR_SMTP_ADDRESS_W = PropTag(PT_UNICODE, 0x39FE);
inline constexpr ULONG PR_SMTP_ADDRESS_A = PropTag(PT_STRING8, 0x39FE);
inline constexpr ULONG PR_7BIT_DISPLAY_NAME_W = PropTag(PT_UNICODE, 0x39FF);
inline constexpr ULONG PR_7BIT_DISPLAY_NAME_A = PropTag(PT_STRING8, 0x39FF);
inline constexpr ULONG PR_TRANSMITABLE_DISPLAY_NAME_W = PropTag(PT_UNICODE, 0x3A20);
inline constexpr ULONG PR_TRANSMITABLE_DISPLAY_NAME_A = PropTag(PT_STRING8, 0x3A20);
inline constexpr ULONG PR_SEND_RICH_INFO = PropTag(PT_BOOLEAN, 0x3A40);

// Attachments
inline constexpr ULONG PR_ATTACH_SIZE = PropTag(PT_LONG, 0x0E20);
inline constexpr ULONG PR_ATTACH_NUM = PropTag(PT_LONG, 0x0E21);
inline constexpr ULONG PR_ATTACH_DATA_BIN = PropTag(PT_BINARY, 0x3701);
inline constexpr ULONG PR_ATTACH_DATA_OBJ = PropTag(PT_OBJECT, 0x3701);
inline constexpr ULONG PR_ATTACH_ENCODING = PropTag(PT_BINARY, 0x3702);
inline constexpr ULONG PR_ATTACH_EXTENSION_W = PropTag(PT_UNICODE, 0x3703);
inline constexpr ULONG PR_ATTACH_EXTENSION_A = PropTag(PT_STRING8, 0x3703);
inline constexpr ULONG PR_ATTACH_FILENAME_W = PropTag(PT_UNICODE, 0x3704);
inline constexpr ULONG PR_ATTACH_FILENAME_A = PropTag(PT_STRING8, 0x3704);
inline constexpr ULONG PR_ATTACH_METHOD = PropTag(PT_LONG, 0x3705);
inline constexpr ULONG PR_ATTACH_LONG_FILENAME_W = PropTag(PT_UNICODE, 0x3707);
inline constexpr ULONG PR_ATTACH_LONG_FILENAME_A = PropTag(PT_STRING8, 0x3707);
inline constexpr ULONG PR_ATTACH_PATHNAME_W = PropTag(PT_UNICODE, 0x3708);
inline constexpr ULONG PR_ATTACH_PATHNAME_A = PropTag(PT_STRING8, 0x3708);
inline constexpr ULONG PR_ATTACH_RENDERING = PropTag(PT_BINARY, 0x3709);
inline constexpr ULONG PR_ATTACH_TAG = PropTag(PT_BINARY, 0x370A);
inline constexpr ULONG PR_RENDERING_POSITION = PropTag(PT_LONG, 0x370B);
inline constexpr ULONG PR_ATTACH_LONG_PATHNAME_W = PropTag(PT_UNICODE, 0x370D);
inline constexpr ULONG PR_ATTACH_LONG_PATHNAME_A = PropTag(PT_STRING8, 0x370D);
inline constexpr ULONG PR_ATTACH_MIME_TAG_W = PropTag(PT_UNICODE, 0x370E);
inline constexpr ULONG PR_ATTACH_MIME_TAG_A = PropTag(PT_STRING8, 0x370E);
inline constexpr ULONG PR_ATTACH_CONTENT_ID_W = PropTag(PT_UNICODE, 0x3712);
inline constexpr ULONG PR_ATTACH_CONTENT_ID_A = PropTag(PT_STRING8, 0x3712);
inline constexpr ULONG PR_ATTACH_CONTENT_LOCATION_W = PropTag(PT_UNICODE, 0x3713);
inline constexpr ULONG PR_ATTACH_CONTENT_LOCATION_A = PropTag(PT_STRING8, 0x3713);
inline constexpr ULONG PR_ATTACH_FLAGS = PropTag(PT_LONG, 0x3714);
inline constexpr ULONG PR_ATTACHMENT_LINKID = PropTag(PT_LONG, 0x7FFA);
inline constexpr ULONG PR_ATTACHMENT_FLAGS = PropTag(PT_LONG, 0x7FFD);
inline constexpr ULONG PR_ATTACHMENT_HIDDEN = PropTag(PT_BOOLEAN, 0x7FFE);

// Folders
inline constexpr ULONG PR_COMMENT_W = PropTag(PT_UNICODE, 0x3004);
inline constexpr ULONG PR_COMMENT_A = PropTag(PT_STRING8, 0x3004);
inline constexpr ULONG PR_DEPTH = PropTag(PT_LONG, 0x3005);
inline constexpr ULONG PR_FOLDER_TYPE = PropTag(PT_LONG, 0x3601);
inline constexpr ULONG PR_CONTENT_COUNT = PropTag(PT_LONG, 0x3602);
inline constexpr ULONG PR_CONTENT_UNREAD = PropTag(PT_LONG, 0x3603);
inline constexpr ULONG PR_SUBFOLDERS = PropTag(PT_BOOLEAN, 0x360A);
inline constexpr ULONG PR_STATUS = PropTag(PT_LONG, 0x360B);
inline constexpr ULONG PR_CONTAINER_HIERARCHY = PropTag(PT_OBJECT, 0x360E);
inline constexpr ULONG PR_CONTAINER_CONTENTS = PropTag(PT_OBJECT, 0x360F);
inline constexpr ULONG PR_FOLDER_ASSOCIATED_CONTENTS = PropTag(PT_OBJECT, 0x3610);
inline constexpr ULONG PR_CONTAINER_CLASS_W = PropTag(PT_UNICODE, 0x3613);
inline constexpr ULONG PR_CONTAINER_CLASS_A = PropTag(PT_STRING8, 0x3613);
inline constexpr ULONG PR_ASSOC_CONTENT_COUNT = PropTag(PT_LONG, 0x3617);

// Store
inline constexpr ULONG PR_DEFAULT_STORE = PropTag(PT_BOOLEAN, 0x3400);
inline constexpr ULONG PR_STORE_SUPPORT_MASK = PropTag(PT_LONG, 0x340D);
inline constexpr ULONG PR_STORE_STATE = PropTag(PT_LONG, 0x340E);
inline constexpr ULONG PR_MDB_PROVIDER = PropTag(PT_BINARY, 0x3414);
inline constexpr ULONG PR_VALID_FOLDER_MASK = PropTag(PT_LONG, 0x35DF);
inline constexpr ULONG PR_IPM_SUBTREE_ENTRYID = PropTag(PT_BINARY, 0x35E0);
inline constexpr ULONG PR_FINDER_ENTRYID = PropTag(PT_BINARY, 0x35E7);
inline constexpr ULONG PR_IPM_OUTBOX_ENTRYID = PropTag(PT_BINARY, 0x35E2);
inline constexpr ULONG PR_IPM_WASTEBASKET_ENTRYID = PropTag(PT_BINARY, 0x35E3);
inline constexpr ULONG PR_IPM_SENTMAIL_ENTRYID = PropTag(PT_BINARY, 0x35E4);
inline constexpr ULONG PR_VIEWS_ENTRYID = PropTag(PT_BINARY, 0x35E5);
inline constexpr ULONG PR_COMMON_VIEWS_ENTRYID = PropTag(PT_BINARY, 0x35E6);
inline constexpr ULONG PR_IPM_DRAFTS_ENTRYID = PropTag(PT_BINARY, 0x36D7);

// Profiles and services
inline constexpr ULONG PR_PROVIDER_DISPLAY_W = PropTag(PT_UNICODE, 0x3006);
inline constexpr ULONG PR_PROVIDER_DISPLAY_A = PropTag(PT_STRING8, 0x3006);
inline constexpr ULONG PR_RESOURCE_FLAGS = PropTag(PT_LONG, 0x3009);
inline constexpr ULONG PR_PROVIDER_DLL_NAME_W = PropTag(PT_UNICODE, 0x300A);
inline constexpr ULONG PR_PROVIDER_DLL_NAME_A = PropTag(PT_STRING8, 0x300A);
inline constexpr ULONG PR_PROVIDER_UID = PropTag(PT_BINARY, 0x300C);
inline constexpr ULONG PR_SERVICE_NAME_W = PropTag(PT_UNICODE, 0x3D09);
inline constexpr ULONG PR_SERVICE_NAME_A = PropTag(PT_STRING8, 0x3D09);
inline constexpr ULONG PR_SERVICE_DLL_NAME_W = PropTag(PT_UNICODE, 0x3D0A);
inline constexpr ULONG PR_SERVICE_DLL_NAME_A = PropTag(PT_STRING8, 0x3D0A);
inline constexpr ULONG PR_SERVICE_ENTRY_NAME_W = PropTag(PT_UNICODE, 0x3D0B);
inline constexpr ULONG PR_SERVICE_ENTRY_NAME_A = PropTag(PT_STRING8, 0x3D0B);
inline constexpr ULONG PR_SERVICE_UID = PropTag(PT_BINARY, 0x3D0C);
inline constexpr ULONG PR_SERVICE_SUPPORT_FILES_W = PropTag(PT_MV_UNICODE, 0x3D0F);
inline constexpr ULONG PR_SERVICE_SUPPORT_FILES_A = PropTag(PT_MV_STRING8, 0x3D0F);
inline constexpr ULONG PR_PROFILE_NAME_W = PropTag(PT_UNICODE, 0x3D12);
inline constexpr ULONG PR_PROFILE_NAME_A = PropTag(PT_STRING8, 0x3D12);
inline constexpr ULONG PR_RESOURCE_TYPE = PropTag(PT_LONG, 0x3E03);

// The personal folder service
inline constexpr ULONG PR_PST_PATH = PropTag(PT_STRING8, 0x6700);
inline constexpr ULONG PR_PST_PATH_W = PropTag(PT_UNICODE, 0x6700);
inline constexpr ULONG PR_PST_REMEMBER_PW = PropTag(PT_BOOLEAN, 0x6701);
inline constexpr ULONG PR_PST_ENCRYPTION = PropTag(PT_LONG, 0x6702);
inline constexpr ULONG PR_PST_PW_SZ_OLD = PropTag(PT_STRING8, 0x6703);
inline constexpr ULONG PR_PST_PW_SZ_NEW = PropTag(PT_STRING8, 0x6704);
inline constexpr ULONG PR_PST_CONFIG_FLAGS = PropTag(PT_LONG, 0x6770);

}  // namespace parvane::mapi
