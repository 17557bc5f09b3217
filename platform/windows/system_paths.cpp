#include "platform/windows/system_paths.h"

#include "platform/windows/windows_text.h"

namespace parvane::platform {
namespace {

constexpr std::wstring_view kVerbatim = L"\\\\?\\";
constexpr std::wstring_view kVerbatimUnc = L"\\\\?\\UNC\\";
constexpr std::wstring_view kDevice = L"\\\\.\\";

// The limits of the plain form are 260 characters for files and 248 for folders, of the path from
// its root on.
constexpr std::size_t kLongPath = 240;

}  // namespace

std::wstring ToSystemPath(std::u16string_view path) {
  if (path.empty() || path.find(u'\0') != path.npos) return {};
  const std::wstring wide = ToWide(path);
  if (wide.starts_with(kVerbatim) || wide.starts_with(kDevice)) return wide;
  const DWORD needed = ::GetFullPathNameW(wide.c_str(), 0, nullptr, nullptr);
  if (needed < kLongPath) return wide;
  std::wstring full(needed, L'\0');
  const DWORD length = ::GetFullPathNameW(wide.c_str(), needed, full.data(), nullptr);
  if (length == 0 || length >= needed) return wide;
  full.resize(length);
  if (full.starts_with(kVerbatim) || full.starts_with(kDevice)) return full;
  if (full.starts_with(L"\\\\")) return std::wstring(kVerbatimUnc) + full.substr(2);
  return std::wstring(kVerbatim) + full;
}

std::u16string FromSystemPath(std::wstring_view path) {
  if (path.starts_with(kVerbatimUnc)) {
    return u"\\\\" + FromWide(path.substr(kVerbatimUnc.size()));
  }
  if (path.starts_with(kVerbatim)) path.remove_prefix(kVerbatim.size());
  return FromWide(path);
}

}  // namespace parvane::platform
