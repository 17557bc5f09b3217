#include "mime/mailbox.h"

#include <iterator>
#include <utility>

#include "mime/mailbox_scanner.h"

namespace QuelmarMIMEEngineCommon {
namespace {

// Calls `take` with the pieces of `list` between commas that are not empty.
template <typename Char, typename Take>
void ForEachPiece(std::basic_string_view<Char> list, Take take) {
  while (true) {
    const std::size_t comma = list.find(Char{','});
    const auto piece = list.substr(0, comma);
    if (!piece.empty()) take(piece);
    if (comma == list.npos) return;
    list.remove_prefix(comma + 1);
  }
}

template <typename Char>
void AppendEscaped(std::basic_string_view<Char> name, std::basic_string<Char>& out) {
  for (const Char c : name) {
    if (c == '"' || c == '\\') out += Char{'\\'};
    out += c;
  }
}

// As repair writes it.
template <typename Char>
void AppendTo(std::basic_string<Char>& out, const MailboxScanner<Char>& mailbox) {
  static constexpr Char kBeforeAddress[] = {'"', ' ', '<', ' '};
  static constexpr Char kBehindAddress[] = {' ', '>'};
  out += Char{'"'};
  if (mailbox.IsLiteral()) {
    out.append(mailbox.name());
  } else {
    AppendEscaped(mailbox.name(), out);
  }
  // The blanks inside the angle brackets are trimmed when the field is parsed.
  out.append(kBeforeAddress, std::size(kBeforeAddress)).append(mailbox.address());
  out.append(kBehindAddress, std::size(kBehindAddress));
}

std::u16string Trimmed(std::u16string_view text) {
  while (!text.empty() && parvane::platform::IsWhiteSpace(text.back())) text.remove_suffix(1);
  while (!text.empty() && parvane::platform::IsWhiteSpace(text.front())) text.remove_prefix(1);
  return std::u16string(text);
}

}  // namespace

void SplitMailBoxes(std::u16string_view list, std::vector<std::u16string>& out) {
  ForEachPiece(list, [&](std::u16string_view piece) { out.emplace_back(piece); });
}

void ParseEmailAddress(const std::u16string& mailbox, std::u16string& name,
                       std::u16string& address) {
  const MailboxScanner<char16_t> scanned(mailbox);
  name.append(scanned.name());
  address.append(scanned.address());
}

void ParseMailBoxList(std::u16string_view list, std::vector<MailBox>& out) {
  std::vector<MailBox> mailboxes;
  ForEachPiece(list, [&](std::u16string_view piece) {
    const MailboxScanner<char16_t> scanned(piece);
    mailboxes.push_back({Trimmed(scanned.name()), Trimmed(scanned.address())});
  });
  RejoinMailBoxes(mailboxes);
  out.insert(out.end(), std::make_move_iterator(mailboxes.begin()),
             std::make_move_iterator(mailboxes.end()));
}

std::u16string EscapeQuotedName(std::u16string_view name) {
  std::u16string escaped;
  escaped.reserve(name.size());
  AppendEscaped(name, escaped);
  return escaped;
}

void RewriteMailBoxes(std::u16string_view list, std::u16string& out) {
  const std::size_t start = out.size();
  ForEachPiece(list, [&](std::u16string_view piece) {
    if (out.size() > start) out += u',';
    AppendTo(out, MailboxScanner<char16_t>(piece));
  });
}

RewrittenList RewriteMailBoxes(std::string_view list, std::string& out,
                               std::vector<MailBoxLengths>& lengths) {
  const std::size_t start = out.size();
  const std::size_t known = lengths.size();
  RewrittenList result;
  ForEachPiece(list, [&](std::string_view piece) {
    if (out.size() > start) out += ',';
    const MailboxScanner<char> mailbox(piece);
    result.complete &= mailbox.IsPlain();
    result.literal &= mailbox.IsLiteral();
    AppendTo(out, mailbox);
    if (result.literal) {
      lengths.push_back({static_cast<std::uint32_t>(mailbox.name().size()),
                         static_cast<std::uint32_t>(mailbox.address().size())});
    }
  });
  // Its lengths are 32 bits wide.
  result.literal &= out.size() - start <= UINT32_MAX;
  if (!result.literal) lengths.resize(known);
  return result;
}

}  // namespace QuelmarMIMEEngineCommon
