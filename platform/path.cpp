#include "platform/path.h"

#include "platform/text.h"
#include "platform/utf8.h"

namespace parvane::platform {
namespace {

constexpr bool IsSeparator(char16_t unit) {
  return unit == u'/' || (kPathSeparator == u'\\' && unit == u'\\');
}

constexpr bool IsDriveLetter(char16_t unit) {
  return (unit >= u'A' && unit <= u'Z') || (unit >= u'a' && unit <= u'z');
}

// "C:", where paths may begin with a drive.
constexpr bool BeginsWithDrive(std::u16string_view path) {
  return kPathSeparator == u'\\' && path.size() >= 2 && IsDriveLetter(path[0]) && path[1] == u':';
}

// How much of the path no parent is taken of: "/"; on Windows also "C:", "C:\", "\\server\share\"
// and "\\?\" with what it precedes.
std::size_t RootLength(std::u16string_view path) {
  const auto separatorAt = [path](std::size_t i) {
    return i < path.size() && IsSeparator(path[i]);
  };
  const auto behindComponent = [&](std::size_t i) {
    while (i < path.size() && !IsSeparator(path[i])) ++i;
    return separatorAt(i) ? i + 1 : i;
  };
  if (BeginsWithDrive(path)) return separatorAt(2) ? 3 : 2;
  if (kPathSeparator != u'\\' || !separatorAt(0) || !separatorAt(1)) return separatorAt(0) ? 1 : 0;
  const bool verbatim = path.size() >= 4 && (path[2] == u'?' || path[2] == u'.') && separatorAt(3);
  if (!verbatim) return behindComponent(behindComponent(2));
  if (BeginsWithDrive(path.substr(4))) return separatorAt(6) ? 7 : 6;
  return path.substr(4, 3) == u"UNC" ? behindComponent(behindComponent(behindComponent(4)))
                                     : behindComponent(4);
}

// Where the separators that end the path begin; the root keeps its own.
std::u16string_view WithoutTrailingSeparators(std::u16string_view path) {
  const std::size_t root = RootLength(path);
  while (path.size() > root && IsSeparator(path.back())) path.remove_suffix(1);
  return path;
}

std::size_t StartOfLastComponent(std::u16string_view path) {
  const std::size_t root = RootLength(path);
  std::size_t at = path.size();
  while (at > root && !IsSeparator(path[at - 1])) --at;
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
  // "C:name" lies in the current folder of the drive.
  const bool driveAlone = out.size() == 2 && BeginsWithDrive(out);
  if (!out.empty() && !IsSeparator(out.back()) && !driveAlone) out += kPathSeparator;
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
