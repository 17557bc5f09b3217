#include "platform/mail_client.h"

#include <array>
#include <memory>
#include <vector>

#include "platform/file.h"
#include "platform/text.h"
#include "platform/windows/windows_text.h"
// After windows.h:
#include <sddl.h>

namespace parvane::platform {
namespace {

constexpr wchar_t kMailClients[] = L"Software\\Clients\\Mail";

// A text value of the registry, with variables expanded; empty when there is none.
std::wstring RegistryText(HKEY root, const std::wstring& key, const wchar_t* value,
                          DWORD view = 0) {
  // A value with variables counts as this type too, unless one asks for its own type.
  const DWORD flags = RRF_RT_REG_SZ | view;
  std::wstring text(64, L'\0');
  for (;;) {
    auto size = static_cast<DWORD>(text.size() * sizeof(wchar_t));
    const LSTATUS result =
        ::RegGetValueW(root, key.c_str(), value, flags, nullptr, text.data(), &size);
    if (result == ERROR_MORE_DATA && text.size() < 65536) {
      text.resize(text.size() * 4);
      continue;
    }
    if (result != ERROR_SUCCESS) return {};
    return text.c_str();
  }
}

std::uint32_t LittleEndian(const std::byte* bytes, int count) {
  std::uint32_t value = 0;
  for (int i = count - 1; i >= 0; --i)
    value = value << 8 | std::to_integer<std::uint32_t>(bytes[i]);
  return value;
}

// The machine a library is made for, from its header ("MZ", at 0x3C the place of "PE" NUL NUL and
// the machine); 0 when the file is none.
std::uint32_t MachineOf(RandomAccessFile& file) {
  std::array<std::byte, 64> start{};
  auto count = file.ReadAt(0, start);
  if (!count.ok() || *count != start.size() || LittleEndian(start.data(), 2) != 0x5A4D) return 0;
  std::array<std::byte, 6> header{};
  count = file.ReadAt(LittleEndian(&start[0x3C], 4), header);
  if (!count.ok() || *count != header.size() || LittleEndian(header.data(), 4) != 0x4550) return 0;
  return LittleEndian(&header[4], 2);
}

#if defined(_M_ARM64) || defined(__aarch64__)
constexpr std::uint32_t kOwnMachine = IMAGE_FILE_MACHINE_ARM64;
#elif defined(_WIN64)
constexpr std::uint32_t kOwnMachine = IMAGE_FILE_MACHINE_AMD64;
#else
constexpr std::uint32_t kOwnMachine = IMAGE_FILE_MACHINE_I386;
#endif

MailClient::Library Judge(std::u16string_view path) {
  auto file = FileSystem::Default().Open(path, FileSystem::OpenMode::kRead);
  if (!file.ok()) return MailClient::Library::kMissing;
  const std::uint32_t machine = MachineOf(**file);
  if (machine == kOwnMachine) return MailClient::Library::kFits;
  return machine == IMAGE_FILE_MACHINE_I386 || machine == IMAGE_FILE_MACHINE_AMD64
             ? MailClient::Library::kOtherBits
             : MailClient::Library::kUnusable;
}

// Where the loader would find it; the name itself when nowhere.
std::u16string FindLibrary(const std::wstring& name) {
  std::vector<wchar_t> path(32768);
  const auto size = static_cast<DWORD>(path.size());
  const DWORD length = ::SearchPathW(nullptr, name.c_str(), L".dll", size, path.data(), nullptr);
  return length == 0 || length >= size ? FromWide(name) : FromWide({path.data(), length});
}

// Outlook notes in its own key for which kind of programs it is made. Each kind of program sees
// another part of the registry, so both are looked at.
unsigned OutlookBits() {
  for (const wchar_t* version : {L"16.0", L"15.0", L"14.0"}) {
    const std::wstring key =
        std::wstring(L"Software\\Microsoft\\Office\\") + version + L"\\Outlook";
    for (const DWORD view : {RRF_SUBKEY_WOW6464KEY, RRF_SUBKEY_WOW6432KEY}) {
      const std::wstring bits = RegistryText(HKEY_LOCAL_MACHINE, key, L"Bitness", view);
      if (bits == L"x86") return 32;
      if (bits == L"x64") return 64;
    }
  }
  return 0;
}

// The user of this process as a string; empty when the system does not tell.
std::wstring UserIdentity() {
  HANDLE token = nullptr;
  if (!::OpenProcessToken(::GetCurrentProcess(), TOKEN_QUERY, &token)) return {};
  const std::unique_ptr<void, BOOL(WINAPI*)(HANDLE)> tokenCloser(token, ::CloseHandle);
  alignas(TOKEN_USER) std::array<BYTE, 256> user{};
  DWORD size = 0;
  wchar_t* text = nullptr;
  if (!::GetTokenInformation(token, TokenUser, user.data(), user.size(), &size) ||
      !::ConvertSidToStringSidW(reinterpret_cast<TOKEN_USER*>(user.data())->User.Sid, &text)) {
    return {};
  }
  std::wstring identity = text;
  ::LocalFree(text);
  return identity;
}

}  // namespace

Result<SystemLibrary> SystemLibrary::Load(std::u16string_view name) {
  void* module = ::LoadLibraryExW(ToWide(name).c_str(), nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  if (module == nullptr) return SystemErrorStatus(::GetLastError(), "load", name);
  return SystemLibrary(module);
}

SystemLibrary::Function SystemLibrary::Find(const char* name) const {
  return reinterpret_cast<Function>(::GetProcAddress(static_cast<HMODULE>(_module), name));
}

MailClient DefaultMailClient() {
  MailClient client;
  // The user's own choice comes before the machine's.
  std::wstring name = RegistryText(HKEY_CURRENT_USER, kMailClients, nullptr);
  if (name.empty()) name = RegistryText(HKEY_LOCAL_MACHINE, kMailClients, nullptr);
  client.name = FromWide(name);
  client.outlookBits = OutlookBits();
  if (name.empty()) return client;
  const std::wstring library =
      RegistryText(HKEY_LOCAL_MACHINE, std::wstring(kMailClients) + L"\\" + name, L"DLLPathEx");
  if (library.empty()) return client;
  client.path = FindLibrary(library);
  client.library = Judge(client.path);
  return client;
}

Result<UserLock> UserLock::Take(std::u16string_view name) {
  const std::wstring global = L"Global\\" + ToWide(name) + L"." + UserIdentity();
  const HANDLE mutex = ::CreateMutexW(nullptr, FALSE, global.c_str());
  const DWORD error = ::GetLastError();
  if (mutex == nullptr) return SystemErrorStatus(error, "take the lock", name);
  UserLock lock(mutex);
  // That it exists is the lock: no thread needs to own it.
  if (error == ERROR_ALREADY_EXISTS)
    return Status(StatusCode::kLocked, Utf16ToUtf8(name) + " is in use by another program");
  return lock;
}

UserLock::~UserLock() {
  if (_handle != nullptr) ::CloseHandle(_handle);
}

}  // namespace parvane::platform
