#include "mime/facade/cls_string.h"

#include <utility>

#include "mime/text_decoding.h"
#include "platform/code_pages/code_page.h"
#include "platform/text.h"

namespace Tessary {

namespace platform = parvane::platform;

std::string NarrowToUtf8(std::string_view text, bool isUtf8) {
  if (isUtf8 || platform::AnsiCodePage() == platform::kCodePageUtf8 || platform::IsAscii(text)) {
    return std::string(text);
  }
  return platform::Utf16ToUtf8(platform::AnsiToUtf16(text));
}

void ClsString::Clear() { SetUtf8({}); }

void ClsString::SetUtf8(std::string text) {
  _form = Form::kUtf8;
  _bytes = {};
  _utf8 = std::move(text);
  _utf8Known = true;
  _utf16Known = _bytesAreUtf8 = false;
}

void ClsString::SetUtf16(std::u16string text) {
  _form = Form::kUtf16;
  _bytes = {};
  _utf16 = std::move(text);
  _utf16Known = true;
  _utf8Known = _bytesAreUtf8 = false;
}

void ClsString::SetBytes(ByteSlice bytes, std::string_view declaredCharset,
                         std::string_view fallbackCharset) {
  _form = Form::kBytes;
  _bytes = std::move(bytes);
  _declaredCharset = declaredCharset;
  _fallbackCharset = fallbackCharset;
  _utf8Known = _utf16Known = _bytesAreUtf8 = false;
}

void ClsString::AppendNarrow(std::string_view text) {
  if (text.empty()) return;
  if (_form == Form::kUtf8 && utf8Flag) {
    _utf8.append(text);
    _utf16Known = false;
  } else {
    Edit().append(platform::Utf8ToUtf16(NarrowToUtf8(text, utf8Flag)));
  }
}

void ClsString::AppendUtf16(std::u16string_view text) {
  if (!text.empty()) Edit().append(text);
}

std::u16string& ClsString::Edit() {
  Utf16();
  _form = Form::kUtf16;
  _bytes = {};
  _utf8Known = _bytesAreUtf8 = false;
  return _utf16;
}

std::u16string_view ClsString::Utf16() const {
  if (!_utf16Known) {
    _utf16 = _form == Form::kBytes ? DecodeText(_bytes.view(), _declaredCharset, _fallbackCharset)
                                   : platform::Utf8ToUtf16(_utf8);
    _utf16Known = true;
  }
  return _utf16;
}

std::string_view ClsString::Utf8() const {
  if (!_utf8Known) {
    if (_form == Form::kUtf16) {
      _utf8 = platform::Utf16ToUtf8(_utf16);
    } else {
      // What would be read as the UTF-8 that it is, is shown as it stands, without a copy; a byte
      // order mark in front would be shown, too.
      const std::string_view bytes = _bytes.view();
      _bytesAreUtf8 =
          !bytes.starts_with("\xEF\xBB\xBF") && platform::IsValidUtf8(bytes) &&
          (ChooseCodePage(bytes, _declaredCharset, _fallbackCharset) == platform::kCodePageUtf8);
      if (_bytesAreUtf8) {
        _utf8.clear();
      } else {
        _utf8 = DecodeTextToUtf8(bytes, _declaredCharset, _fallbackCharset);
      }
    }
    _utf8Known = true;
  }
  return _bytesAreUtf8 ? _bytes.view() : std::string_view(_utf8);
}

std::string_view ClsString::Ansi() const {
  if (platform::AnsiCodePage() == platform::kCodePageUtf8) return Utf8();
  _ansi = platform::Utf16ToAnsi(Utf16());
  return _ansi;
}

const char* ClsString::Utf8Z() const {
  const std::string_view text = Utf8();
  if (_bytesAreUtf8) {
    // A slice of a message has no NUL behind it.
    _utf8 = text;
    _bytesAreUtf8 = false;
  }
  return _utf8.c_str();
}

const char* ClsString::AnsiZ() const {
  if (platform::AnsiCodePage() == platform::kCodePageUtf8) return Utf8Z();
  Ansi();
  return _ansi.c_str();
}

std::string_view ClsString::Raw() const { return _form == Form::kBytes ? _bytes.view() : Utf8(); }

ByteSlice ClsString::RawSlice() const {
  return _form == Form::kBytes ? _bytes : ByteSlice::Copy(Utf8());
}

}  // namespace Tessary
