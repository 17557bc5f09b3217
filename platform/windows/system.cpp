#include "platform/system.h"

#include <algorithm>
#include <utility>

#include "platform/system_internal.h"
#include "platform/windows/windows_text.h"
// After windows.h:
#include <bcrypt.h>
#include <objbase.h>
#include <psapi.h>
#include <shlobj.h>

namespace parvane::platform {

unsigned SystemAnsiCodePage() { return ::GetACP(); }

namespace {

std::optional<std::u16string> KnownFolder(REFKNOWNFOLDERID id) {
  PWSTR path = nullptr;
  std::optional<std::u16string> folder;
  if (SUCCEEDED(::SHGetKnownFolderPath(id, 0, nullptr, &path))) folder = FromWide(path);
  ::CoTaskMemFree(path);
  return folder;
}

}  // namespace

std::optional<std::u16string> LocalApplicationDataFolder() {
  return KnownFolder(FOLDERID_LocalAppData);
}

std::optional<std::u16string> FolderOfUser(UserFolder folder) {
  switch (folder) {
    case UserFolder::kHome:
      return KnownFolder(FOLDERID_Profile);
    case UserFolder::kDocuments:
      return KnownFolder(FOLDERID_Documents);
    case UserFolder::kDownloads:
      return KnownFolder(FOLDERID_Downloads);
    case UserFolder::kDesktop:
      return KnownFolder(FOLDERID_Desktop);
    case UserFolder::kSettings:
      return KnownFolder(FOLDERID_RoamingAppData);
  }
  return std::nullopt;
}

std::thread ThreadWithoutSignals(std::function<void()> body) {
  return std::thread(std::move(body));
}

void FillRandomFromSystem(std::span<std::byte> bytes) {
  while (!bytes.empty()) {
    const std::size_t piece = std::min<std::size_t>(bytes.size(), std::size_t{1} << 20);
    ::BCryptGenRandom(nullptr, reinterpret_cast<PUCHAR>(bytes.data()), static_cast<ULONG>(piece),
                      BCRYPT_USE_SYSTEM_PREFERRED_RNG);
    bytes = bytes.subspan(piece);
  }
}

std::u16string TemporaryFolder() {
  wchar_t path[MAX_PATH + 1];
  const DWORD length = ::GetTempPathW(MAX_PATH + 1, path);
  return length == 0 || length > MAX_PATH ? u"." : FromWide({path, length});
}

std::uint64_t PeakResidentBytes() {
  PROCESS_MEMORY_COUNTERS counters{};
  if (!::K32GetProcessMemoryInfo(::GetCurrentProcess(), &counters, sizeof counters)) return 0;
  return counters.PeakWorkingSetSize;
}

std::uint32_t ProcessIdentifier() { return ::GetCurrentProcessId(); }

std::u16string BrowseForFolder(const std::u16string& label, bool canCreateNew, void* parentWindow) {
  const std::wstring title = ToWide(label);
  BROWSEINFOW info{};
  info.hwndOwner = static_cast<HWND>(parentWindow);
  info.lpszTitle = title.c_str();
  info.ulFlags = BIF_RETURNONLYFSDIRS | (canCreateNew ? BIF_NEWDIALOGSTYLE : 0U);
  const LPITEMIDLIST chosen = ::SHBrowseForFolderW(&info);
  wchar_t path[MAX_PATH] = {};
  ::SHGetPathFromIDListW(chosen, path);
  ::CoTaskMemFree(chosen);
  return FromWide(path);
}

}  // namespace parvane::platform
