// Any bytes are a message. Everything is read, and what must hold whatever the bytes are is
// checked: an untouched message serialises to itself, a changed one still holds what was set,
// every getter gives valid text, and parsing what was serialised gives the same e-mail.
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "fuzz/expect.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "platform/text.h"

namespace {

using namespace Tessary;

void ExpectValid(const TsString& text) {
  Expect(parvane::platform::IsValidUtf8(text.viewUtf8()), "text is UTF-8");
  Expect(parvane::platform::Utf8ToUtf16(text.viewUtf8()) == text.viewUnicode(),
         "both forms of a text agree");
}

// A short account of the whole e-mail.
std::string Read(TsEmail& email, int depth) {
  std::string account;
  TsString text;
  TsByteData data;
  const auto add = [&](bool success) {
    Expect(success || text.isEmpty(), "a failed getter leaves its output empty");
    ExpectValid(text);
    account.append(text.viewUtf8()).push_back('\n');
  };
  add(email.get_From(text));
  add(email.get_FromAddress(text));
  add(email.get_Subject(text));
  add(email.get_Header(text));
  add(email.GetHeaderField("Reply-To", text));
  add(email.GetPlainTextBody(text));
  add(email.GetHtmlBody(text));
  for (int i = 0; i < email.get_NumTo(); ++i) {
    add(email.GetToName(i, text));
    add(email.GetToAddr(i, text));
  }
  for (int i = 0; i < email.get_NumAttachments(); ++i) {
    add(email.GetAttachmentFilename(i, text));
    add(email.GetAttachmentContentID(i, text));
    email.GetAttachmentData(i, data);
    account.append(data.view()).push_back('\n');
  }
  for (int i = 0; i < email.get_NumRelatedItems(); ++i) {
    add(email.GetRelatedFilename(i, text));
    email.GetRelatedData(i, data);
    account.append(data.view()).push_back('\n');
  }
  for (int i = 0; i < email.get_NumLeftoverParts(); ++i) {
    add(email.GetLeftoverPartContentType(i, text));
    add(email.GetLeftoverPartName(i, text));
    account += std::to_string(email.GetLeftoverPartSize(i));
  }
  Expect(!email.GetAttachmentData(email.get_NumAttachments(), data) && data.getSize() == 0,
         "an index past the end fails");
  Expect(depth < 100, "nesting ends");
  for (int i = 0; i < email.get_NumAttachedMessages(); ++i) {
    const std::unique_ptr<TsEmail> inner(email.GetAttachedMessage(i));
    if (inner != nullptr) account += Read(*inner, depth + 1);
  }
  email.get_LastErrorText(text);
  return account;
}

void ChangeInnermost(TsMime& mime) {
  if (mime.get_NumParts() > 0) {
    const std::unique_ptr<TsMime> part(mime.GetPart(mime.get_NumParts() - 1));
    ChangeInnermost(*part);
  } else {
    mime.SetHeaderField("X-Changed", "here");
  }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  TsByteData message;
  message.append2(data, size);
  TsMime mime;
  TsString text;
  Expect(mime.LoadMimeBytes(message) && mime.getMime(text), "loading never fails");
  Expect(text.viewRaw() == bytes, "an untouched message serialises to its own bytes");
  TsEmail email;
  Expect(email.SetFromMimeText(text) == !bytes.empty(), "only an empty message is refused");
  if (bytes.empty()) return 0;
  const std::string account = Read(email, 0);
  TsEmail again;
  again.SetFromMimeBytes(message);
  Expect(Read(again, 0) == account, "both ways in give the same e-mail");

  ChangeInnermost(mime);
  mime.put_Utf8(true);
  mime.SetHeaderField("X-Set", "a  b\tc \xC3\xA9");
  mime.getMime(text);
  Expect(text.viewRaw().find("X-Changed: here\r\n") != std::string_view::npos,
         "a part's change is in the whole");
  TsMime changed;
  changed.LoadMime(text);
  TsString value;
  Expect(changed.GetHeaderField("X-Set", value) && value.viewRaw() == "a  b\tc \xC3\xA9",
         "a field that was set reads back");
  return 0;
}
