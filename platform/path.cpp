#include "platform/file.h"
#include "platform/text.h"
#include "platform/utf8.h"

namespace parvane::platform {
namespace {

constexpr bool IsSeparator(char16_t unit) {
  return unit == u'/' || (kPathSeparator == u'\\' && unit == u'\\');
}

// Where the separators that end the path begin; the root keeps its own.
std::u16string_view WithoutTrailingSeparators(std::u16string_view path) {
  while (path.size() > 1 && IsSeparator(path.back())) path.remove_suffix(1);
  return path;
}

std::size_t StartOfLastComponent(std::u16string_view path) {
  std::size_t at = path.size();
  while (at > 0 && !IsSeparator(path[at - 1])) --at;
  return at;
}

std::u16string_view LastComponent(std::u16string_view path) {
  path = WithoutTrailingSeparators(path);
  return path.substr(StartOfLastComponent(path));
}

}  // namespace

std::string PathToNative(std::u16string_view path) {
  std::string out;
  out.reserve(path.size());
  char bytes[4];
  for (std::size_t i = 0; i < path.size(); ++i) {
    char32_t character = path[i];
    if (IsHighSurrogate(path[i]) && i + 1 < path.size() && IsLowSurrogate(path[i + 1])) {
      character = JoinSurrogates(path[i], path[i + 1]);
      ++i;
    } else if (character >= 0xDC80 && character <= 0xDCFF) {
      out += static_cast<char>(character - 0xDC00);
      continue;
    } else if (IsSurrogate(path[i])) {
      character = 0xFFFD;
    }
    out.append(bytes, PutUtf8(character, bytes));
  }
  return out;
}

std::u16string PathFromNative(std::string_view native) {
  std::u16string out;
  out.reserve(native.size());
  char16_t units[2];
  while (!native.empty()) {
    const Utf8Step step = StepUtf8(native.data(), native.size());
    if (step.valid) {
      out.append(units, PutUtf16(step.character, units));
    } else {
      for (std::size_t i = 0; i < step.length; ++i) {
        out += static_cast<char16_t>(0xDC00 + static_cast<unsigned char>(native[i]));
      }
    }
    native.remove_prefix(step.length);
  }
  return out;
}

std::string PathForDisplay(std::u16string_view path) { return Utf16ToUtf8(path); }

std::u16string JoinPath(std::u16string_view folder, std::u16string_view name) {
  std::u16string out(folder);
  if (!out.empty() && !IsSeparator(out.back())) out += kPathSeparator;
  out += name;
  return out;
}

std::u16string FileNameOfPath(std::u16string_view path) {
  return std::u16string(LastComponent(path));
}

std::u16string ExtensionOfPath(std::u16string_view path) {
  const std::u16string_view name = LastComponent(path);
  const std::size_t dot = name.rfind(u'.');
  return dot == name.npos ? std::u16string() : std::u16string(name.substr(dot));
}

std::u16string StemOfPath(std::u16string_view path) {
  const std::u16string_view name = LastComponent(path);
  return std::u16string(name.substr(0, name.rfind(u'.')));
}

std::u16string ParentOfPath(std::u16string_view path) {
  path = WithoutTrailingSeparators(path);
  const std::size_t start = StartOfLastComponent(path);
  if (start == 0) return u".";
  // "/name" lies in "/".
  return std::u16string(WithoutTrailingSeparators(path.substr(0, start)));
}

}  // namespace parvane::platform
