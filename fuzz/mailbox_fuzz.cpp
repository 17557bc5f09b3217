// Any UTF-8 text is an address list.
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "fuzz/expect.h"
#include "mime/address_list.h"
#include "mime/mailbox.h"
#include "platform/text.h"

namespace mail = QuelmarMIMEEngineCommon;

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::u16string list =
      parvane::platform::Utf8ToUtf16(std::string_view(reinterpret_cast<const char*>(data), size));
  std::vector<std::u16string> pieces;
  mail::SplitMailBoxes(list, pieces);
  std::u16string rewritten;
  for (const std::u16string& piece : pieces) {
    Expect(!piece.empty() && piece.find(u',') == std::u16string::npos, "pieces have no comma");
    std::u16string name;
    std::u16string address;
    mail::ParseEmailAddress(piece, name, address);
    Expect(name.size() + address.size() <= piece.size(), "a mailbox holds only what was there");
    if (!rewritten.empty()) rewritten += u',';
    rewritten.append(u"\"").append(mail::EscapeQuotedName(name)).append(u"\" < ");
    rewritten.append(address).append(u" >");
  }
  std::vector<mail::MailBox> mailboxes;
  mail::ParseMailBoxList(list, mailboxes);
  Expect(mailboxes.size() <= pieces.size(), "pieces are joined, never cut");
  for (const std::u16string_view form :
       {std::u16string_view(list), std::u16string_view(rewritten)}) {
    for (const auto& mailbox : Tessary::ParseAddressList(form)) {
      Expect(!mailbox.name.empty() || !mailbox.address.empty(), "no mailbox is empty");
      std::u16string formatted;
      Tessary::AppendMailBox(mailbox, formatted);
      const auto again = Tessary::ParseAddressList(formatted);
      Expect(again.size() <= form.size() + 1, "formatting adds nothing");
    }
  }
  return 0;
}
