#include <cstdint>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "platform/memory_input_stream.h"
#include "sources/mailbox_cutting.h"
#include "sources/mbox_reading.h"
#include "sources/message_buffer.h"
#include "sources/separators.h"
#include "sources/strict_judge.h"

namespace {

// One text of all messages, each behind the offset at which it begins.
std::string Read(std::string_view file, std::size_t step) {
  static parvane::sources::MessageBuffer message;
  const auto stream = parvane::platform::MemoryInputStream(file, step);
  std::string all;
  while (!stream->Buffer().empty()) {
    message.clear();
    const std::uint64_t before = stream->Position();
    all += std::to_string(parvane::sources::ScanMboxMessage(*stream, message, nullptr)) + ":";
    all += message.view();
    Expect(stream->Position() > before, "every scan takes something");
    Expect(message.empty() || message.view().back() == '\n', "every line ends");
  }
  Expect(stream->Position() == file.size(), "all is read");
  return all;
}

// Two of the three signs decide; no mailbox is there for second looks.
class Judge : public parvane::sources::SeparatorJudge {
 public:
  void Begins(std::string_view line) override { _judge.Begins(line); }
  bool Ends(const parvane::sources::SeparatorCandidate& candidate) override {
    Expect(candidate.line.starts_with("From "), "a candidate begins like a separator");
    Expect(candidate.offset >= candidate.messageBegin, "it lies behind the beginning");
    return _judge.Ends(candidate);
  }

 private:
  parvane::sources::StrictJudge _judge{nullptr, {}, [](const auto&) {}};
};

// The same of the messages as the judge parts them, or as a mailbox of the kind MMDF.
std::string ReadOtherwise(std::string_view file, std::size_t step, bool judged) {
  static parvane::sources::MessageBuffer message;
  const auto stream = parvane::platform::MemoryInputStream(file, step);
  Judge judge;
  parvane::sources::JudgedMailbox mailbox(judge);
  std::string all;
  while (!mailbox.AtEnd(*stream)) {
    message.clear();
    const std::uint64_t begin = judged
                                    ? mailbox.Read(*stream, message, nullptr)
                                    : parvane::sources::ScanMmdfMessage(*stream, message, nullptr);
    all += std::to_string(begin) + ":";
    all += message.view();
    Expect(message.empty() || message.view().back() == '\n', "every line ends");
  }
  return all;
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view file(reinterpret_cast<const char*>(data), size);
  const std::string whole = Read(file, 0);
  Expect(Read(file, 1) == whole, "byte by byte gives the same messages");
  Expect(Read(file, 7) == whole, "so does any other step");
  for (const bool judged : {false, true}) {
    const std::string otherwise = ReadOtherwise(file, 0, judged);
    Expect(ReadOtherwise(file, 1, judged) == otherwise, "byte by byte gives the same messages");
  }
  parvane::sources::SeparatorHasDate(file);
  parvane::sources::BeginningOf(file);
  return 0;
}
