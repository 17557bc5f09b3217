// The mailbox grammar that message repair, the mail facade and the conversion share: cutting an
// address list into mailboxes, and a mailbox into display name and address.
//
//   list     := mailbox *("," mailbox)           empty mailboxes are skipped
//   mailbox  := [name] "<" address ">" | address [comment]
//   name     := quoted text | plain text, comments in "(" ")" dropped
//
// Nothing here fails: malformed text yields whatever could be collected. Encoded words are left
// as they are; decode a name after it has been parsed, never before. All functions are linear in
// their input and thread-safe.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace QuelmarMIMEEngineCommon {

// Where ParseEmailAddress is in its mailbox.
enum class States { Between = 0, Name = 1, Address = 2 };

// Appends the pieces of `list` between commas to `out`. Every comma cuts, also one inside quotes;
// empty pieces are skipped; nothing is trimmed.
//
//   ",a,,b, c,"  ->  "a", "b", " c"
void SplitMailBoxes(std::u16string_view list, std::vector<std::u16string>& out);

// Splits one mailbox, appending to `name` and `address` (callers pass empty ones).
//
//   mailbox                        name           address
//   John Smith <user@domain>       John Smith     user@domain
//   "Smith, John" <user@domain>    Smith, John    user@domain
//   user@domain (John)                            user@domain
//   <user@domain>                                 user@domain
//   <Bob Lee <user@domain>         BobLee         user@domain
//   "John" Smith <user@domain>     JohnSmith      user@domain
//   John Smith                     John Smith
void ParseEmailAddress(const std::u16string& mailbox, std::u16string& name,
                       std::u16string& address);
// The same for a mailbox in ASCII.
void ParseEmailAddress(std::string_view mailbox, std::string& name, std::string& address);

// One mailbox, split. Either part may be empty.
struct MailBox {
  std::u16string name;
  std::u16string address;
  friend bool operator==(const MailBox&, const MailBox&) = default;
};

// Undoes what SplitMailBoxes does to a comma inside a name. Message repair rewrites
//
//   "Surname, Given" <a@b>     as     "Surname" <  >,"Given\"" < a@b >
//
// and here exactly that pattern, mailboxes without an address before one whose name ends in a
// stray double quote, becomes one mailbox named "Surname, Given" again. An encoded word that was
// cut at a comma is made whole in the same way. All else stays: `Doe, J <a@b>` is two mailboxes,
// and a real recipient without an address remains one.
void RejoinMailBoxes(std::vector<MailBox>& mailboxes);

// SplitMailBoxes, ParseEmailAddress on every piece (both parts trimmed of white space), then
// RejoinMailBoxes; appends to `out`. Encoded words stay encoded.
void ParseMailBoxList(std::u16string_view list, std::vector<MailBox>& out);

// `name` as repair writes it between double quotes: a double quote or backslash gets a backslash
// before it.
std::u16string EscapeQuotedName(std::u16string_view name);

// The list as repair rewrites it, every mailbox in the one form `"name" < address >`; appended to
// `out`. The narrow list is ASCII; true when nothing but comments and white space can have been
// lost, as with nearly all lists.
void RewriteMailBoxes(std::u16string_view list, std::u16string& out);
bool RewriteMailBoxes(std::string_view list, std::string& out);

}  // namespace QuelmarMIMEEngineCommon
