// What one conversion left behind, for whoever must account for it.
//
// MAPI's results are discarded while a message is written, and parts that no property takes are
// dropped; the report keeps what was seen of that on the way.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "mapi/refusals.h"
#include "platform/time.h"

namespace parvane::convert {

struct ConversionReport {
  // A leaf that reached no property.
  struct Part {
    std::string contentType;
    std::u16string name;     // empty when it has none
    std::uint64_t size = 0;  // bytes, as it stands in the message
  };

  // An attachment that was taken out of the message before.
  struct RemovedAttachment {
    std::u16string name;  // may be empty
    std::string url;      // where it was saved; empty: it was deleted
  };

  // Of each list so many are named; the rest is counted.
  static constexpr std::size_t kMostNamed = 1000;

  // Of the message and of all messages in it.
  std::vector<Part> unconvertedParts;
  std::uint64_t moreUnconvertedParts = 0;
  std::vector<RemovedAttachment> removedAttachments;
  std::uint64_t moreRemovedAttachments = 0;
  std::vector<mapi::Refusal> refusals;
  std::uint32_t attachmentsWritten = 0;
  std::uint32_t attachmentsFailed = 0;

  // Of the message itself.
  bool dateMissing = false;
  bool dateUnreadable = false;
  platform::FileTime date;       // as written; 0 when unreadable
  platform::FileTime delivered;  // as written; 0 when nothing tells
  bool markedDeleted = false;
};

}  // namespace parvane::convert
