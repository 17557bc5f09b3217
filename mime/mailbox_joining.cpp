// Putting together again what cutting a list at its commas took apart.

#include <algorithm>
#include <span>
#include <utility>

#include "mime/mailbox.h"

namespace QuelmarMIMEEngineCommon {
namespace {

// A double quote at the end that no other one opens.
bool EndsInStrayQuote(const std::u16string& name) {
  if (name.empty() || name.back() != u'"') return false;
  std::size_t quotes = 0;
  for (const char16_t c : name) quotes += c == u'"';
  return quotes % 2 == 1;
}

// "=?charset?q?text" without its "?=" and without white space.
bool OpensEncodedWord(const std::u16string& name) {
  const std::size_t start = name.rfind(u"=?");
  if (start == std::u16string::npos) return false;
  const std::size_t encoding = name.find(u'?', start + 2);
  if (encoding == std::u16string::npos || encoding + 2 >= name.size() ||
      name[encoding + 2] != u'?') {
    return false;
  }
  if (name.find(u"?=", encoding + 3) != std::u16string::npos) return false;
  return name.find_first_of(u" \t", start) == std::u16string::npos;
}

// "text?=" without the "=?" that opens the word.
bool ClosesEncodedWord(const std::u16string& name) {
  const std::size_t end = name.find(u"?=");
  return end != std::u16string::npos && end < std::min(name.find(u"=?"), name.find(u' '));
}

// The piece that opens the encoded word which the piece after `run` closes; run.size() when none
// does.
std::size_t FindOpenEncodedWord(std::span<const MailBox> run) {
  for (std::size_t i = run.size(); i > 0; --i) {
    const std::u16string& name = run[i - 1].name;
    if (name.find(u'?') == std::u16string::npos) continue;
    return OpensEncodedWord(name) ? i - 1 : run.size();
  }
  return run.size();
}

void PrependPieces(std::span<const MailBox> pieces, std::u16string_view separator,
                   std::u16string& name) {
  if (pieces.empty()) return;
  std::u16string whole;
  for (const MailBox& piece : pieces) whole.append(piece.name).append(separator);
  name.insert(0, whole);
}

// A group's name or end is never a piece of a quoted name.
bool CanBePieceOfName(const MailBox& piece) {
  return piece.address.empty() && !piece.name.empty() &&
         piece.name.find_first_of(u":;") == std::u16string::npos;
}

}  // namespace

void RejoinMailBoxes(std::vector<MailBox>& mailboxes) {
  std::size_t kept = 0;      // mailboxes[0, kept) is the result so far
  std::size_t runStart = 0;  // from here to kept: pieces that may begin a cut name
  for (std::size_t i = 0; i < mailboxes.size(); ++i) {
    MailBox mailbox = std::move(mailboxes[i]);
    const std::span run(mailboxes.data() + runStart, kept - runStart);
    if (ClosesEncodedWord(mailbox.name)) {
      const std::size_t first = FindOpenEncodedWord(run);
      PrependPieces(run.subspan(first), u",", mailbox.name);
      kept = runStart + first;
    }
    if (kept > runStart && EndsInStrayQuote(mailbox.name)) {
      mailbox.name.pop_back();
      PrependPieces(run.first(kept - runStart), u", ", mailbox.name);
      kept = runStart;
      mailboxes[kept++] = std::move(mailbox);
      runStart = kept;
      continue;
    }
    const bool piece = CanBePieceOfName(mailbox);
    mailboxes[kept++] = std::move(mailbox);
    if (!piece) runStart = kept;
  }
  mailboxes.resize(kept);
}

}  // namespace QuelmarMIMEEngineCommon
