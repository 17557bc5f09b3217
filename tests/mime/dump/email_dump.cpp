// Prints what the facade finds in every message of an mbox, one JSON object a line, for the
// comparison with what Python's own mail package finds (corpus_test.py).
//
//   email_dump IN.mbox
#include <cstdio>
#include <fstream>
#include <iterator>
#include <memory>
#include <string>

#include "mime/transfer_encoding.h"
#include "mime/ts_byte_data.h"
#include "mime/ts_email.h"
#include "mime/ts_mime.h"
#include "mime/ts_string.h"

namespace {

using namespace Tessary;

std::string Quoted(std::string_view utf8) {
  std::string out = "\"";
  for (const char c : utf8) {
    if (c == '"' || c == '\\') {
      out.append({'\\', c});
    } else if (static_cast<unsigned char>(c) < 0x20) {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(c));
      out += escape;
    } else {
      out += c;
    }
  }
  return out + '"';
}

std::string Text(TsEmail& email, bool (TsEmail::*get)(TsString&)) {
  TsString text;
  return (email.*get)(text) ? Quoted(text.viewUtf8()) : "null";
}

std::string Text(TsEmail& email, bool (TsEmail::*get)(int, TsString&), int index) {
  TsString text;
  return (email.*get)(index, text) ? Quoted(text.viewUtf8()) : "null";
}

std::string Data(TsEmail& email, bool (TsEmail::*get)(int, TsByteData&), int index) {
  TsByteData data;
  return (email.*get)(index, data) ? Quoted(EncodeBase64(data.view(), 0)) : "null";
}

template <typename Item>
std::string ListOf(int count, Item item) {
  std::string out = "[";
  for (int i = 0; i < count; ++i) out += (i > 0 ? ", " : "") + item(i);
  return out + "]";
}

std::string Recipients(TsEmail& email, int count, bool (TsEmail::*name)(int, TsString&),
                       bool (TsEmail::*address)(int, TsString&)) {
  return ListOf(count, [&](int i) {
    return "[" + Text(email, name, i) + ", " + Text(email, address, i) + "]";
  });
}

std::string Dump(TsEmail& e) {
  std::string out = "{\"subject\": " + Text(e, &TsEmail::get_Subject);
  out += ", \"from\": [" + Text(e, &TsEmail::get_FromName) + ", " +
         Text(e, &TsEmail::get_FromAddress) + "]";
  out += ", \"date\": " + Text(e, &TsEmail::get_EmailDateStr);
  out += ", \"to\": " + Recipients(e, e.get_NumTo(), &TsEmail::GetToName, &TsEmail::GetToAddr);
  out += ", \"cc\": " + Recipients(e, e.get_NumCC(), &TsEmail::GetCcName, &TsEmail::GetCcAddr);
  out += ", \"plain\": " + Text(e, &TsEmail::GetPlainTextBody);
  out += ", \"html\": " + Text(e, &TsEmail::GetHtmlBody);
  out += ", \"attachments\": " + ListOf(e.get_NumAttachments(), [&](int i) {
           return "{\"name\": " + Text(e, &TsEmail::GetAttachmentFilename, i) +
                  ", \"mime\": " + Text(e, &TsEmail::GetAttachmentContentType, i) +
                  ", \"data\": " + Data(e, &TsEmail::GetAttachmentData, i) + "}";
         });
  out += ", \"related\": " + ListOf(e.get_NumRelatedItems(), [&](int i) {
           return "{\"name\": " + Text(e, &TsEmail::GetRelatedFilename, i) +
                  ", \"mime\": " + Text(e, &TsEmail::GetRelatedContentType, i) +
                  ", \"cid\": " + Text(e, &TsEmail::GetRelatedContentID, i) +
                  ", \"data\": " + Data(e, &TsEmail::GetRelatedData, i) + "}";
         });
  out += ", \"leftovers\": " + ListOf(e.get_NumLeftoverParts(), [&](int i) {
           return "[" + Text(e, &TsEmail::GetLeftoverPartContentType, i) + ", " +
                  std::to_string(e.GetLeftoverPartSize(i)) + "]";
         });
  out += ", \"embedded\": " + ListOf(e.get_NumAttachedMessages(), [&](int i) {
           const std::unique_ptr<TsEmail> inner(e.GetAttachedMessage(i));
           return inner == nullptr ? std::string("null") : Dump(*inner);
         });
  return out + "}";
}

// Messages stand between lines that begin with "From "; one ">" in front of such a line goes.
void DumpMessage(std::string&& message) {
  TsByteData bytes;
  bytes.adopt(std::move(message));
  TsMime mime;
  TsString text;
  TsEmail email;
  if (mime.LoadMimeBytes(bytes) && mime.getMime(text) && email.SetFromMimeText(text)) {
    std::puts(Dump(email).c_str());
  } else {
    std::puts("null");
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 2) return 2;
  std::ifstream file(argv[1], std::ios::binary);
  std::string line;
  std::string message;
  bool first = true;
  while (std::getline(file, line)) {
    if (line.ends_with('\r')) line.pop_back();
    if (line.starts_with("From ")) {
      if (!first) DumpMessage(std::move(message));
      message.clear();
      first = false;
      continue;
    }
    const std::size_t marks = line.find_first_not_of('>');
    if (marks != std::string::npos && marks > 0 && line.compare(marks, 5, "From ") == 0) {
      line.erase(0, 1);
    }
    message.append(line).append("\r\n");
  }
  if (!first) DumpMessage(std::move(message));
  return 0;
}
