#include "carry/address_step.h"

#include <algorithm>
#include <string>
#include <utility>

#include "mime/address_list.h"
#include "mime/email_message.h"
#include "mime/text_decoding.h"

namespace parvane::carry {
namespace {

using Tessary::AddressField;
using Tessary::MimeField;
using Tessary::MimeHeader;

// "Doe, Jane, PhD, MBA". More are a list of something.
constexpr std::size_t kMostCutOff = 3;
// Bytes, as they came. What is longer is no list that anyone wrote, and left as repair has it.
constexpr std::size_t kLongestList = 512 * 1024;

// Empty when it is too long, which is looked at first: decoding multiplies what it is given.
std::u16string ListIn(const MimeHeader& header, AddressField field,
                      const convert::MailInHand& mail) {
  std::u16string list;
  std::string scratch;
  std::size_t size = 0;
  header.ForEach(Tessary::NameOf(field), [&](const MimeField& one) { size += one.Raw().size(); });
  if (size > kLongestList) return list;
  header.ForEach(Tessary::NameOf(field), [&](const MimeField& one) {
    if (!list.empty()) list += u',';
    list += Tessary::DecodeText(one.Value(scratch), {}, mail.email.charset());
  });
  return list;
}

// Names of people and teams do; those of accounts on the sender's machine do not.
bool BeginsLikeName(std::u16string_view word) {
  const char16_t first = word.empty() ? u'a' : word.front();
  return !(first >= u'a' && first <= u'z') && word.find(u'@') == word.npos &&
         word.find(u':') == word.npos;
}

}  // namespace

std::vector<MailBox> ReadCorrespondents(std::u16string_view list) {
  std::vector<MailBox> read = Tessary::ParseAddressList(list);
  std::size_t kept = 0;
  std::size_t cutOff = 0;  // so many words just before, which commas have cut off
  for (MailBox& mailbox : read) {
    const bool word = mailbox.address.empty() && BeginsLikeName(mailbox.name);
    if (!mailbox.address.empty() && !mailbox.name.empty()) {
      if (cutOff > kMostCutOff) cutOff = 0;
      for (; cutOff > 0; --cutOff) mailbox.name.insert(0, read[--kept].name + u", ");
    }
    cutOff = word ? cutOff + 1 : 0;
    if (&read[kept] != &mailbox) read[kept] = std::move(mailbox);
    ++kept;
  }
  read.resize(kept);
  return read;
}

void AddressStep::Begin(const convert::IMailAsset& mail) {
  _mail = &mail;
  _carried.reset();
}

const std::vector<MailBox>* AddressStep::Correspondents(const convert::MailInHand& mail,
                                                        AddressField field) {
  const Tessary::HeaderFacts* const facts = mail.email.entity().facts();
  if (!_mail || (facts && facts->IsPlain(field)) ||
      !mail.email.entity().header().Find(Tessary::NameOf(field))) {
    return nullptr;
  }
  MimeHeader original;
  original.Load(_mail->HeaderAsItCame(mail));
  const std::u16string list = ListIn(original, field, mail);
  if (list.empty()) return nullptr;
  _read = ReadCorrespondents(list);
  const bool ofRecipients =
      field == AddressField::kTo || field == AddressField::kCc || field == AddressField::kBcc;
  if (_read == mail.email.Mailboxes(field) || (_read.empty() && !ofRecipients)) return nullptr;
  _carried.set(static_cast<std::size_t>(field));
  return &_read;
}

void AddressStep::MailWritten(const convert::MailInHand& mail, mapi::IMessage&) {
  if (mail.depth == 0 && _carried.any()) _observer.AddressesCarried(_carried);
}

}  // namespace parvane::carry
