// The peer: GMime parses every message of an mbox, decodes subject, date and addresses, and decodes
// every leaf into nothing. No output is written: this is the reading half of a conversion.
//
//   peer_walk IN.mbox
#include <cstdio>

#include <fcntl.h>
#include <gmime/gmime.h>

namespace {

// Visits every leaf, those of attached messages too.
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
    auto* part = reinterpret_cast<GMimePart*>(object);
    g_mime_part_get_filename(part);
    if (GMimeDataWrapper* content = g_mime_part_get_content(part))
      g_mime_data_wrapper_write_to_stream(content, nowhere);
  }
}

}  // namespace

int main(int argc, char** argv) {
  const int file = argc == 2 ? ::open(argv[1], O_RDONLY) : -1;
  if (file < 0) {
    std::fputs("use: peer_walk IN.mbox\n", stderr);
    return 2;
  }
  g_mime_init();
  GMimeStream* nowhere = g_mime_stream_null_new();
  GMimeStream* in = g_mime_stream_fs_new(file);
  GMimeParser* parser = g_mime_parser_new_with_stream(in);
  g_mime_parser_set_format(parser, GMIME_FORMAT_MBOX);
  unsigned long messages = 0;
  while (!g_mime_parser_eos(parser)) {
    GMimeMessage* message = g_mime_parser_construct_message(parser, nullptr);
    if (!message) break;
    ++messages;
    g_mime_message_get_subject(message);
    g_mime_message_get_date(message);
    g_mime_message_get_from(message);
    if (InternetAddressList* to = g_mime_message_get_all_recipients(message)) g_object_unref(to);
    if (GMimeObject* body = g_mime_message_get_mime_part(message)) DecodeLeaves(body, nowhere);
    g_object_unref(message);
  }
  std::printf("messages %lu\n", messages);
  g_object_unref(parser);
  g_object_unref(in);
  g_object_unref(nowhere);
}
