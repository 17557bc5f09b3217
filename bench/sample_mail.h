// Mail for the reading benchmarks, generated or from a file, and the walk that reads all of it.
#pragma once

#include <fstream>
#include <iterator>
#include <memory>
#include <string>
#include <utility>
#include <vector>

#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_string.h"
#include "tests/support/transfer_encoders.h"

namespace parvane::bench {

using Tessary::TsByteData;
using Tessary::TsEmail;
using Tessary::TsString;
using test::EncodeBase64;
using test::EncodeQuotedPrintable;

struct Mailbox {
  std::string name;
  std::vector<TsByteData> messages;
  std::size_t bytes = 0;

  void Add(std::string message) {
    bytes += message.size();
    messages.emplace_back().adopt(std::move(message));
  }
};

inline std::string Words(std::size_t bytes, unsigned seed) {
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

inline std::string Header(unsigned n) {
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

inline Mailbox SmallText() {
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

inline Mailbox Attachments() {
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

inline Mailbox Read(const char* path) {
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
inline std::size_t Walk(TsEmail& email) {
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

}  // namespace parvane::bench
