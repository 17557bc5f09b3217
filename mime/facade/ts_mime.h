// TsMime: a MIME entity whose header fields and body can be read and rewritten.
//
// Loading builds the tree of entities: a multipart entity has its parts as children, every other
// one, message/rfc822 included, is a leaf. Loading never fails on malformed text; it falls back
// and says so in the log. Header values are raw here: unfolded, but with their encoded words.
//
// GetPart hands out a live view: what is changed through it is changed in the tree it came from,
// and the tree lives as long as any view of it. A message that was not changed serialises to the
// bytes it was loaded from.
//
// Narrow arguments are read as UTF-8 or in the ANSI code page as the Utf8 flag says. Indices are
// 0-based. Getters clear their output first and leave it empty on failure. Nothing is thrown but
// std::bad_alloc. One object is used by one thread at a time or, its operations being guarded by
// its critical section, by several; different trees on different threads share nothing mutable.
#pragma once

#include <memory>
#include <string_view>

namespace Tessary {

class ClsMime;
class TsByteData;
class TsString;

class TsMime {
 public:
  TsMime();
  ~TsMime();
  TsMime(const TsMime&) = delete;
  TsMime& operator=(const TsMime&) = delete;
  TsMime(TsMime&& other) noexcept;
  TsMime& operator=(TsMime&& other) noexcept;

  // State of a new object: clear (ANSI). Parts take over the flag of the object they came from.
  bool get_Utf8() const;
  void put_Utf8(bool utf8);

  // ---- Loading ----
  // The text's bytes are taken as they are. False for null text and past the size limit (see
  // TsEmail::SetFromMimeText); the entity is then empty.
  bool LoadMime(const char* text);
  bool LoadMime(const TsString& text);
  // Shares the bytes.
  bool LoadMimeBytes(const TsByteData& bytes);

  // ---- The tree ----
  int get_NumParts();
  // A live view of a child, owned by the caller; null for a bad index.
  TsMime* GetPart(int index);
  // "text/plain", in the letter case of the message, without parameters; empty when the field is
  // missing.
  bool get_ContentType(TsString& out);
  // Disposition "attachment", without regard to case.
  bool IsAttachment();
  bool IsMultipartRelated();
  // The transfer encoding's name, as "base64", in the letter case of the message; empty when the
  // field is missing.
  bool encoding(TsString& out);

  // ---- Header fields, in stored order ----
  int get_NumHeaderFields();
  // The first field of that name, without regard to case.
  bool GetHeaderField(const char* name, TsString& out);
  bool GetHeaderFieldName(int index, TsString& out);
  bool GetHeaderFieldValue(int index, TsString& out);
  // Replaces the first field of that name where it stands and removes further ones of the name;
  // appends the field when there is none. Line breaks in the value become folds. Setting
  // Content-Type here does not split the body again.
  bool SetHeaderField(const char* name, const char* value);
  bool SetHeaderField(const char* name, const TsString& value);
  // Removes every field of that name; false when there was none.
  bool RemoveHeaderField(const char* name);

  // ---- Body ----
  // Replaces the body, parts included, by this text as it stands.
  bool SetBody(const char* text);
  bool SetBody(const TsString& text);
  // The same for text that is already encoded in the named transfer encoding, which becomes the
  // entity's Content-Transfer-Encoding.
  bool SetBodyFromEncoded(const char* encoding, const char* text);
  bool SetBodyFromEncoded(const char* encoding, const TsString& text);
  bool SetBodyFromEncoded(const char* encoding, const TsByteData& text);
  // The body with all sub-parts, without the entity's own header, still in its transfer encoding.
  bool getEntireBody(TsString& out);
  // The same decoded from its transfer encoding.
  bool GetDecodedBody(TsByteData& out);

  // The entity serialised: unchanged parts byte for byte, changed fields folded at 78 columns
  // where they have white space.
  bool getMime(TsString& out);

  // Why the last operation failed, and what loading tolerated.
  void get_LastErrorText(TsString& out);

 private:
  friend ClsMime& ImplementationOf(const TsMime&);
  explicit TsMime(std::unique_ptr<ClsMime> implP);
  std::unique_ptr<ClsMime> _implP;
};

}  // namespace Tessary
