// Reading mail: parse, then decode everything, as a conversion does.
//
//   mime_bench [IN.mbox]...       without a file: generated mail
//
// For every input: the walk alone (build the tree, decode every leaf, subject, date and address
// lists), and the same by way of TsMime, as it is when messages are repaired first.
#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>

#include "mime/transfer_encoding.h"
#include "mime/ts_byte_data.h"
#include "mime/ts_email.h"
#include "mime/ts_mime.h"
#include "mime/ts_string.h"

namespace {

using namespace Tessary;

struct Mailbox {
  std::string name;
  std::vector<TsByteData> messages;
  std::size_t bytes = 0;

  void Add(std::string message) {
    bytes += message.size();
    messages.emplace_back().adopt(std::move(message));
  }
};

std::string Words(std::size_t bytes, unsigned seed) {
  static constexpr const char* kWords[] = {"the",  "meeting", "moved",  "to",   "Friday", "please",
                                           "send", "numbers", "before", "noon", "thanks"};
  std::string text;
  std::size_t line = 0;
  while (text.size() < bytes) {
    seed = seed * 1664525 + 1013904223;
    text += kWords[(seed >> 16) % std::size(kWords)];
    text += text.size() - line > 65 ? "\r\n" : " ";
    if (text.ends_with('\n')) line = text.size();
  }
  return text + "\r\n";
}

std::string Header(unsigned n) {
  const std::string id = std::to_string(n);
  return "Received: from a.example (a.example [192.0.2.1])\r\n\tby b.example with ESMTP id " + id +
         "\r\n\tfor <to@b.example>; Tue, 5 Mar 2013 10:20:30 +0100\r\n"
         "Message-ID: <" +
         id +
         "@a.example>\r\nDate: Tue, 5 Mar 2013 10:20:30 +0100\r\n"
         "From: =?utf-8?Q?J=C3=BCrgen_Gro=C3=9F?= <from@a.example>\r\n"
         "To: \"Smith, Ann\" <ann@b.example>, Bob Lee <bob@b.example>\r\n"
         "Subject: =?utf-8?B?R3LDtsOfZQ==?= number " +
         id + "\r\nMIME-Version: 1.0\r\n";
}

Mailbox SmallText() {
  Mailbox box{"generated_small_text", {}, 0};
  for (unsigned n = 0; n < 2000; ++n) {
    const std::string text = Words(1500 + n % 1000, n);
    if (n % 3 == 0) {
      box.Add(Header(n) +
              "Content-Type: multipart/alternative; boundary=\"=_b\"\r\n\r\n--=_b\r\n"
              "Content-Type: text/plain; charset=utf-8\r\n\r\n" +
              text +
              "\r\n--=_b\r\n"
              "Content-Type: text/html; charset=utf-8\r\n"
              "Content-Transfer-Encoding: quoted-printable\r\n\r\n" +
              EncodeQuotedPrintable("<html><p class=\"x\">" + text + "</p></html>") +
              "\r\n--=_b--\r\n");
    } else {
      box.Add(Header(n) + "Content-Type: text/plain; charset=iso-8859-1\r\n\r\n" + text);
    }
  }
  return box;
}

Mailbox Attachments() {
  Mailbox box{"generated_attachments", {}, 0};
  for (unsigned n = 0; n < 60; ++n) {
    std::string data;
    for (unsigned i = 0, seed = n; i < 400'000; ++i) {
      seed = seed * 1664525 + 1013904223;
      data.push_back(static_cast<char>(seed >> 24));
    }
    box.Add(Header(n) +
            "Content-Type: multipart/mixed; boundary=\"=_b\"\r\n\r\n--=_b\r\n"
            "Content-Type: text/plain\r\n\r\n" +
            Words(1000, n) +
            "\r\n--=_b\r\n"
            "Content-Type: application/pdf; name=\"file.pdf\"\r\n"
            "Content-Transfer-Encoding: base64\r\n\r\n" +
            EncodeBase64(data) + "\r\n--=_b--\r\n");
  }
  return box;
}

Mailbox Read(const char* path) {
  Mailbox box{path, {}, 0};
  std::ifstream file(path, std::ios::binary);
  std::string line;
  std::string message;
  while (std::getline(file, line)) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.starts_with("From ")) {
      if (!message.empty()) box.Add(std::exchange(message, {}));
      continue;
    }
    message.append(line).append("\r\n");
  }
  if (!message.empty()) box.Add(std::move(message));
  return box;
}

// Everything a conversion asks of a message; the bytes that came out.
std::size_t Walk(TsEmail& email) {
  TsString text;
  TsByteData data;
  std::size_t bytes = 0;
  email.get_Subject(text);
  email.get_EmailDateStr(text);
  email.get_FromAddress(text);
  for (int i = 0; i < email.get_NumTo(); ++i) email.GetToName(i, text);
  for (int i = 0; i < email.get_NumCC(); ++i) email.GetCcName(i, text);
  if (email.GetPlainTextBody(text)) bytes += text.viewUnicode().size();
  if (email.GetHtmlBody(text)) bytes += text.viewUtf8().size();
  for (int i = 0; i < email.get_NumAttachments(); ++i) {
    email.GetAttachmentFilename(i, text);
    if (email.GetAttachmentData(i, data)) bytes += data.getSize();
  }
  for (int i = 0; i < email.get_NumRelatedItems(); ++i) {
    if (email.GetRelatedData(i, data)) bytes += data.getSize();
  }
  for (int i = 0; i < email.get_NumAttachedMessages(); ++i) {
    const std::unique_ptr<TsEmail> inner(email.GetAttachedMessage(i));
    if (inner != nullptr) bytes += Walk(*inner);
  }
  return bytes;
}

void Report(benchmark::State& state, const Mailbox& box) {
  state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations() * box.bytes));
  state.counters["messages/s"] = benchmark::Counter(static_cast<double>(box.messages.size()),
                                                    benchmark::Counter::kIsIterationInvariantRate);
}

void WalkEmails(benchmark::State& state, const Mailbox& box) {
  for (auto _ : state) {
    for (const TsByteData& message : box.messages) {
      TsEmail email;
      email.SetFromMimeBytes(message);
      benchmark::DoNotOptimize(Walk(email));
    }
  }
  Report(state, box);
}

void WalkByWayOfMime(benchmark::State& state, const Mailbox& box) {
  for (auto _ : state) {
    for (const TsByteData& message : box.messages) {
      TsMime mime;
      TsString text;
      TsEmail email;
      mime.LoadMimeBytes(message);
      mime.SetHeaderField("X-Repaired", "yes");
      mime.getMime(text);
      email.SetFromMimeText(text);
      benchmark::DoNotOptimize(Walk(email));
    }
  }
  Report(state, box);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  std::vector<Mailbox> boxes;
  for (int i = 1; i < argc; ++i) boxes.push_back(Read(argv[i]));
  if (boxes.empty()) {
    boxes.push_back(SmallText());
    boxes.push_back(Attachments());
  }
  for (const Mailbox& box : boxes) {
    benchmark::RegisterBenchmark(("email/" + box.name).c_str(), WalkEmails, std::cref(box));
    benchmark::RegisterBenchmark(("mime_and_email/" + box.name).c_str(), WalkByWayOfMime,
                                 std::cref(box));
  }
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
