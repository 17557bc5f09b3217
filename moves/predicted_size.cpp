#include "moves/predicted_size.h"

namespace parvane::moves {
namespace {

// A header is kept as it came, in two bytes a character, and again in what is made of its fields:
// subject, topic and conversation index; sender and originator with names, addresses, entry ids and
// keys; correspondents likewise; references; categories. Some of that stands in the folder's table
// as well.
constexpr std::uint64_t kHeaderTimes = 40;
// Text as such, and as HTML whose characters take three bytes in UTF-8.
constexpr std::uint64_t kTextTimes = 5;
// What was packed may be kept as it is, unpacked as text, and as the HTML in it.
constexpr std::uint64_t kUnpackedTimes = 5;
// Of attachments 16 bytes in 8192 end a block; a list of blocks takes 8 bytes for each.
constexpr std::uint64_t kDataPart = 100;
constexpr std::uint64_t kObject = 4 * 1024;
constexpr std::uint64_t kAddress = 1536;
// The message itself: its properties' blocks, its nodes, the tables of what it has none of, the
// pages of the B-trees that a commit changes for it; and what the folders' open tables may come to
// hold until then.
constexpr std::uint64_t kMessage = 192 * 1024;

}  // namespace

std::uint64_t PredictedSize(const engine::MessageShape& shape) {
  return kMessage + shape.header * kHeaderTimes + shape.text * kTextTimes +
         shape.unpacked * kUnpackedTimes + shape.data + shape.data / kDataPart +
         shape.objects * kObject + shape.addresses * kAddress;
}

}  // namespace parvane::moves
