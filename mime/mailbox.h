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

#include <cstddef>
#include <cstdint>
#include <span>
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
// `out`.
void RewriteMailBoxes(std::u16string_view list, std::u16string& out);

// Of one mailbox of a rewritten list: the sizes of its name, with the blanks that were quoted with
// it, and of its address.
struct MailBoxLengths {
  std::uint32_t name = 0;
  std::uint32_t address = 0;
};

struct RewrittenList {
  // Nothing but comments and white space can have been lost, as with nearly all lists.
  bool complete = true;
  // Whoever reads the list finds what stands between the quotes and between the brackets, character
  // by character: nothing in it is escaped, encoded or put together from several mailboxes. The
  // lengths of all mailboxes have been appended; of any other list, none.
  bool literal = true;
};

// The same for a list in ASCII.
RewrittenList RewriteMailBoxes(std::string_view list, std::string& out,
                               std::vector<MailBoxLengths>& lengths);

// Calls `take` with the name and the address of each mailbox of a literal list until it returns
// false. False, without a call, when the list is not the one that the lengths were taken of.
template <typename Take>
bool ForEachMailBox(std::string_view literal, std::span<const MailBoxLengths> lengths, Take take) {
  constexpr std::size_t kBeforeAddress = 4;  // `" < `
  constexpr std::size_t kBehindAddress = 3;  // ` >,`
  std::size_t size = 0;
  for (const MailBoxLengths& length : lengths)
    size += 1 + length.name + kBeforeAddress + length.address + kBehindAddress;
  if (lengths.empty() || size != literal.size() + 1) return false;
  std::size_t at = 0;
  for (const MailBoxLengths& length : lengths) {
    std::string_view name = literal.substr(at + 1, length.name);
    at += 1 + length.name + kBeforeAddress;
    const std::string_view address = literal.substr(at, length.address);
    at += length.address + kBehindAddress;
    while (name.ends_with(' ')) name.remove_suffix(1);
    while (name.starts_with(' ')) name.remove_prefix(1);
    if (!take(name, address)) break;
  }
  return true;
}

}  // namespace QuelmarMIMEEngineCommon
