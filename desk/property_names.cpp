#include "desk/property_names.h"

#include <string_view>

#include <fmt/format.h>

#include "mapi/tags.h"

namespace parvane::desk {
namespace {

struct Name {
  mapi::ULONG tag;
  std::string_view name;
};

constexpr Name kNames[] = {
    {mapi::PR_MESSAGE_ATTACHMENTS, "attachment"},
    {mapi::PR_ATTACH_DATA_BIN, "data of an attachment"},
    {mapi::PR_ATTACH_DATA_OBJ, "attached message"},
    {mapi::PR_ATTACH_LONG_FILENAME_W, "name of an attachment"},
    {mapi::PR_MESSAGE_RECIPIENTS, "recipient"},
    {mapi::PR_ENTRYID, "address book entry of a correspondent"},
    {mapi::PR_BODY_W, "plain text"},
    {mapi::PR_BODY_HTML_A, "HTML text"},
    {mapi::PR_SUBJECT_W, "subject"},
    {mapi::PR_TRANSPORT_MESSAGE_HEADERS_A, "header"},
    {mapi::PR_INTERNET_MESSAGE_ID_W, "Message-ID"},
    {mapi::PR_SENT_REPRESENTING_ENTRYID, "author"},
    {mapi::PR_SENDER_ENTRYID, "sender"},
    {mapi::PR_REPLY_RECIPIENT_ENTRIES, "Reply-To"},
    {mapi::PR_CLIENT_SUBMIT_TIME, "date"},
    {mapi::PR_MESSAGE_DELIVERY_TIME, "date of arrival"},
    {mapi::PR_CONTAINER_CLASS_W, "kind of folder"},
    {mapi::PR_MESSAGE_FLAGS, "read or unread"},
};

}  // namespace

std::string PropertyName(std::uint32_t tag) {
  std::string_view name = "a property";
  for (const Name& known : kNames) {
    if (known.tag == tag) name = known.name;
  }
  return fmt::format("{} (0x{:08X})", name, tag);
}

}  // namespace parvane::desk
