// Reading mail beside a peer: GMime does the same work in the same run.
//
//   peer_bench [IN.mbox]...       without a file: generated mail
//
// The work: split an mbox file into messages, build each message's tree, read subject, date and
// addresses, decode every leaf into nothing. Parvane's walk also turns text into UTF-16, which the
// peer's does not. The ratio of two rows of one input is the figure to quote.
#include <cstdio>
#include <functional>
#include <string>
#include <vector>

#include <benchmark/benchmark.h>
#include <fcntl.h>
#include <gmime/gmime.h>
#include <unistd.h>

#include "bench/sample_mail.h"
#include "platform/file.h"
#include "platform/input_stream.h"
#include "platform/path.h"
#include "sources/mbox_reading.h"

namespace {

using namespace parvane;
using namespace parvane::bench;

struct Input {
  std::string name;
  std::string path;
  std::int64_t bytes = 0;
};

// Generated mail as an mbox file in the temporary folder.
Input Write(const Mailbox& box) {
  Input input{box.name, "/tmp/peer_bench_" + box.name + ".mbox"};
  std::ofstream out(input.path, std::ios::binary);
  for (const TsByteData& message : box.messages) {
    out << "From a@b.example Tue Mar  5 10:20:30 2013\n";
    out.write(reinterpret_cast<const char*>(message.getBytes()),
              static_cast<std::streamsize>(message.getSize()));
    out << "\n";
  }
  out.close();
  input.bytes = static_cast<std::int64_t>(std::ifstream(input.path, std::ios::ate).tellg());
  return input;
}

void Parvane(benchmark::State& state, const Input& input) {
  for (auto _ : state) {
    auto stream = platform::OpenInputStream(platform::FileSystem::Default(),
                                            platform::PathFromNative(input.path));
    if (!stream.ok()) return state.SkipWithError("cannot open the mailbox");
    std::vector<char> message;
    while (true) {
      message.clear();
      QuelmarMIMEEngineCommon::ScanMBOXStream(stream->get(), message);
      if (message.empty()) break;
      TsByteData bytes;
      bytes.adopt(std::string(message.begin(), message.end()));
      TsEmail email;
      email.SetFromMimeBytes(bytes);
      benchmark::DoNotOptimize(Walk(email));
    }
  }
  state.SetBytesProcessed(state.iterations() * input.bytes);
}

void DecodeLeaves(GMimeObject* object, GMimeStream* nowhere) {
  if (GMIME_IS_MULTIPART(object)) {
    auto* multipart = reinterpret_cast<GMimeMultipart*>(object);
    for (int i = 0; i < g_mime_multipart_get_count(multipart); ++i)
      DecodeLeaves(g_mime_multipart_get_part(multipart, i), nowhere);
  } else if (GMIME_IS_MESSAGE_PART(object)) {
    GMimeMessage* inner =
        g_mime_message_part_get_message(reinterpret_cast<GMimeMessagePart*>(object));
    if (inner && g_mime_message_get_mime_part(inner))
      DecodeLeaves(g_mime_message_get_mime_part(inner), nowhere);
  } else if (GMIME_IS_PART(object)) {
    GMimeDataWrapper* content = g_mime_part_get_content(reinterpret_cast<GMimePart*>(object));
    if (content) g_mime_data_wrapper_write_to_stream(content, nowhere);
  }
}

void Peer(benchmark::State& state, const Input& input) {
  GMimeStream* nowhere = g_mime_stream_null_new();
  for (auto _ : state) {
    const int file = ::open(input.path.c_str(), O_RDONLY);
    if (file < 0) return state.SkipWithError("cannot open the mailbox");
    GMimeStream* in = g_mime_stream_fs_new(file);
    GMimeParser* parser = g_mime_parser_new_with_stream(in);
    g_mime_parser_set_format(parser, GMIME_FORMAT_MBOX);
    g_mime_parser_set_persist_stream(parser, FALSE);  // in memory: its faster way
    while (!g_mime_parser_eos(parser)) {
      GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr);
      if (!message) break;
      benchmark::DoNotOptimize(g_mime_message_get_subject(message));
      benchmark::DoNotOptimize(g_mime_message_get_date(message));
      benchmark::DoNotOptimize(g_mime_message_get_from(message));
      if (InternetAddressList* to = g_mime_message_get_all_recipients(message)) g_object_unref(to);
      if (g_mime_message_get_mime_part(message))
        DecodeLeaves(g_mime_message_get_mime_part(message), nowhere);
      g_object_unref(message);
    }
    g_object_unref(parser);
    g_object_unref(in);
  }
  g_object_unref(nowhere);
  state.SetBytesProcessed(state.iterations() * input.bytes);
}

}  // namespace

int main(int argc, char** argv) {
  benchmark::Initialize(&argc, argv);
  g_mime_init();
  std::vector<Input> inputs;
  for (int i = 1; i < argc; ++i) {
    inputs.push_back({argv[i], argv[i], 0});
    inputs.back().bytes = static_cast<std::int64_t>(std::ifstream(argv[i], std::ios::ate).tellg());
  }
  if (inputs.empty()) inputs = {Write(SmallText()), Write(Attachments())};
  for (const Input& input : inputs) {
    benchmark::RegisterBenchmark(("parvane/" + input.name).c_str(), Parvane, std::cref(input));
    benchmark::RegisterBenchmark(("gmime/" + input.name).c_str(), Peer, std::cref(input));
  }
  benchmark::RunSpecifiedBenchmarks();
  if (argc < 2) {
    for (const Input& input : inputs) std::remove(input.path.c_str());
  }
  return 0;
}
