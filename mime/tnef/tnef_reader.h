// Reads TNEF ([MS-OXTNEF]), the wrapping in which Outlook and Exchange send what MIME has no word
// for: the part application/ms-tnef, most often called winmail.dat.
//
//   stream    := signature:4 key:2 attribute*
//   attribute := level:1 id:4 size:4 data[size] checksum:2      numbers are little-endian
//   level     := 1 of the message | 2 of the attachment in hand
//   checksum  := the sum of the bytes of data
//
// Nothing is copied, and nothing below attributes is looked at: a message is views into the bytes
// it was read from. Messages in messages are streams in properties of attachments; whoever opens
// them bounds the depth. Linear in the bytes.
//
// Writers are careless. Believed are sizes alone: checksums are compared and counted, attributes
// may come in any order, attachments without the attribute that should begin them begin with the
// first that the one before has already.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string_view>
#include <vector>

namespace parvane::tnef {

// Each view is the data of one attribute; empty when there is none.
struct Attachment {
  std::string_view rendering;   // attAttachRendData
  std::string_view title;       // attAttachTitle: 8-bit text that ends with a zero
  std::string_view data;        // attAttachData
  std::string_view metafile;    // attAttachMetaFile: its icon
  std::string_view properties;  // attAttachment: a list for PropertyReader
};

struct Message {
  unsigned codePage = 1252;  // of 8-bit text here (attOemCodepage)
  // The first three are 8-bit text that ends with a zero.
  std::string_view messageClass;  // attMessageClass
  std::string_view subject;       // attSubject
  std::string_view body;          // attBody
  std::string_view from;          // attFrom: see ReadOriginator
  std::string_view dateSent;      // attDateSent: see ReadDate
  std::string_view dateReceived;  // attDateRecd
  std::string_view properties;    // attMsgProps: a list for PropertyReader
  std::string_view recipients;    // attRecipTable: the number of rows, and as many lists
  std::vector<Attachment> attachments;
  // Every byte belongs to an attribute, but for zeros and blanks at the end.
  bool whole = false;
};

// No real message has as many.
inline constexpr std::size_t kMostAttachments = 10'000;

// Nothing when this is no TNEF. What is cut off or has too many attachments is not `whole`; the
// attributes before that are there.
std::optional<Message> ReadTnef(std::string_view bytes);

struct Originator {
  std::string_view name;
  std::string_view address;  // without "SMTP:"; empty when it is of another kind
};
// attFrom ([MS-OXTNEF] 2.1.3.3.2): kind:2 size:2 nameSize:2 addressSize:2 name address, both ended
// by a zero, the address as "SMTP:a@b".
std::optional<Originator> ReadOriginator(std::string_view from);

struct Date {
  std::uint16_t year = 0;
  std::uint16_t month = 0;
  std::uint16_t day = 0;
  std::uint16_t hour = 0;
  std::uint16_t minute = 0;
  std::uint16_t second = 0;
};
// In UTC ([MS-OXTNEF] 2.1.3.3.3). The numbers may be no date.
std::optional<Date> ReadDate(std::string_view date);

// 8-bit text up to its zero.
std::string_view UpToZero(std::string_view text);

}  // namespace parvane::tnef
