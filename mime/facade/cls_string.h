// The text behind a TsString: one stated form, converted to the others when they are asked for.
#pragma once

#include <string>
#include <string_view>

#include "mime/byte_slice.h"

namespace Tessary {

class ClsString {
 public:
  void Clear();
  void SetUtf8(std::string text);
  void SetUtf16(std::u16string text);
  // Bytes in a charset that may be missing, unknown or wrong (see text_decoding.h).
  void SetBytes(ByteSlice bytes, std::string_view declaredCharset,
                std::string_view fallbackCharset);

  // Narrow text as the Utf8 flag says.
  void AppendNarrow(std::string_view text);
  void AppendUtf16(std::u16string_view text);
  // The text for changing in place; every other form is forgotten.
  std::u16string& Edit();

  std::u16string_view Utf16() const;
  std::string_view Utf8() const;
  std::string_view Ansi() const;
  // NUL-terminated; as long as the view above.
  const char* Utf8Z() const;
  const char* AnsiZ() const;

  // The bytes that SetBytes was given, else the text's UTF-8.
  std::string_view Raw() const;
  ByteSlice RawSlice() const;

  bool utf8Flag = false;

 private:
  enum class Form { kUtf8, kUtf16, kBytes };

  Form _form = Form::kUtf8;  // which of the members below is the text; the others are made of it
  ByteSlice _bytes;
  std::string _declaredCharset;
  std::string _fallbackCharset;
  mutable std::string _utf8;
  mutable std::u16string _utf16;
  mutable std::string _ansi;
  mutable bool _utf8Known = true;
  mutable bool _utf16Known = false;
  mutable bool _bytesAreUtf8 = false;  // _bytes can be shown as they are
};

// Narrow text as UTF-8: it is UTF-8 already when `isUtf8`, else in the ANSI code page.
std::string NarrowToUtf8(std::string_view text, bool isUtf8);

}  // namespace Tessary
