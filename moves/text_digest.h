// The digest of a text whatever white space it was laid out with: every run of it is one blank, and
// none at the ends. Taken piece by piece; in UTF-8, so that anybody can make it again.
#pragma once

#include <optional>
#include <string>
#include <string_view>

#include "platform/sha256.h"

namespace parvane::moves {

class TextDigest {
 public:
  // UTF-16; zero characters are none, unpaired surrogates U+FFFD.
  void Take(std::u16string_view text);
  // Nothing when there was no text.
  std::optional<platform::Sha256Digest> Finish();

 private:
  void Flush(bool all);

  platform::Sha256 _hash;
  std::u16string _kept;  // not hashed yet
  bool _any = false;
  bool _blank = false;  // one is due, if anything follows
};

// The same for a short text, which is wanted itself.
std::u16string Squeezed(std::u16string_view text);

// The bytes of HTML: as text, and without the name of the encoding that it is in.
std::optional<platform::Sha256Digest> DigestOfHtml(std::string_view bytes, unsigned codePage);

}  // namespace parvane::moves
