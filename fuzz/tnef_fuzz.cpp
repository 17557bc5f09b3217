// A winmail.dat with all that is in it, messages in messages too.
#include <cstdint>
#include <string_view>

#include "fuzz/expect.h"
#include "mime/tnef/property_reader.h"
#include "mime/tnef/rtf_compression.h"
#include "mime/tnef/rtf_text.h"
#include "mime/tnef/tnef_reader.h"

namespace {

using namespace parvane::tnef;

constexpr std::uint32_t kRtf = 0x10090102;
constexpr std::uint32_t kObject = 0x3701000D;
constexpr std::size_t kSet = 16;

void Walk(std::string_view bytes, int depth);

// Whether what follows the list can be read.
bool WalkList(ByteReader& reader, int depth) {
  PropertyReader list(reader);
  for (Property property; list.Next(property);) {
    Expect(property.name.has_value() == (property.id >= 0x8000), "named ids have names");
    std::size_t size = 0;
    std::uint32_t count = 0;
    ValueReader values(property);
    for (std::string_view value; values.Next(value); ++count) {
      if (count == 0) Expect(value == property.value, "the first value is the value");
      size += value.size();
    }
    Expect(count == property.count, "every value can be read again");
    Expect(size <= property.all.size(), "values lie in the list");
    if (property.tag() == kRtf) {
      std::size_t unpacked = 0;
      std::size_t characters = 0;
      RtfText text([&](std::u16string_view piece) { characters += piece.size(); });
      DecompressRtf(property.value, [&](std::string_view piece) {
        unpacked += piece.size();
        text.Take(piece);
        return true;
      });
      text.End();
      Expect(characters <= unpacked, "text is less than its RTF");
      Expect(unpacked <= property.value.size() * 9, "RTF grows by what an item can stand for");
    }
    if (property.tag() == kObject && property.value.size() > kSet)
      Walk(property.value.substr(kSet), depth + 1);
  }
  return list.whole();
}

void Walk(std::string_view bytes, int depth) {
  if (depth > 4) return;
  const auto message = ReadTnef(bytes);
  if (!message) return;
  Expect(message->attachments.size() <= kMostAttachments, "attachments are bounded");
  ReadOriginator(message->from);
  ReadDate(message->dateSent);
  ByteReader properties(message->properties);
  WalkList(properties, depth);
  ByteReader recipients(message->recipients);
  std::uint32_t rows = 0;
  recipients.Take(rows);
  while (rows-- > 0 && WalkList(recipients, depth)) {
  }
  std::size_t size = 0;
  for (const Attachment& attachment : message->attachments) {
    size += attachment.data.size() + attachment.title.size();
    ByteReader list(attachment.properties);
    WalkList(list, depth);
  }
  Expect(size <= bytes.size(), "no byte is in two attributes");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  Walk(bytes, 0);
  DecompressRtf(bytes, [](std::string_view) { return true; });
  RtfText text([](std::u16string_view) {});
  text.Take(bytes);
  text.End();
  return 0;
}
