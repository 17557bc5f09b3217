#include "mapi/system_entry_points.h"

#include "mapi/structures.h"
#include "platform/mail_client.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::mapi {
namespace {

using platform::MailClient;
using platform::Result;
using platform::Status;
using platform::StatusCode;
using platform::SystemLibrary;

constexpr unsigned kOwnBits = 8 * sizeof(void*);

decltype(EntryPoints::MAPIFreeBuffer) g_freeBuffer = nullptr;

void PARVANE_STDCALL FreeRowsAndSet(SRowSet* lpRows) {
  if (lpRows == nullptr) return;
  for (ULONG i = 0; i < lpRows->cRows; ++i) g_freeBuffer(lpRows->aRow[i].lpProps);
  g_freeBuffer(lpRows);
}

// 32-bit systems may decorate the name with the size of the arguments.
template <typename Function>
bool Find(const SystemLibrary& library, const char* name, const char* decorated,
          Function& function) {
  SystemLibrary::Function found = library.Find(name);
  if (found == nullptr) found = library.Find(decorated);
  function = reinterpret_cast<Function>(found);
  return function != nullptr;
}

Result<EntryPoints> Load() {
  auto library = SystemLibrary::Load(u"mapi32.dll");
  if (!library.ok()) return library.status();
  EntryPoints entry;
  const bool complete =
      Find(*library, "MAPIInitialize", "MAPIInitialize@4", entry.MAPIInitialize) &&
      Find(*library, "MAPIUninitialize", "MAPIUninitialize@0", entry.MAPIUninitialize) &&
      Find(*library, "MAPIAdminProfiles", "MAPIAdminProfiles@8", entry.MAPIAdminProfiles) &&
      Find(*library, "MAPILogonEx", "MAPILogonEx@20", entry.MAPILogonEx) &&
      Find(*library, "MAPIAllocateBuffer", "MAPIAllocateBuffer@8", entry.MAPIAllocateBuffer) &&
      Find(*library, "MAPIAllocateMore", "MAPIAllocateMore@12", entry.MAPIAllocateMore) &&
      Find(*library, "MAPIFreeBuffer", "MAPIFreeBuffer@4", entry.MAPIFreeBuffer);
  if (!complete)
    return Status(StatusCode::kUnsupported, "this system's mapi32.dll lacks Extended MAPI");
  g_freeBuffer = entry.MAPIFreeBuffer;
  entry.FreeProws = FreeRowsAndSet;
  return entry;
}

std::string Bits(unsigned bits) { return std::to_string(bits) + "-bit"; }

std::string OtherBits() {
  const std::string other = Bits(kOwnBits == 64 ? 32 : 64);
  return "this is the " + Bits(kOwnBits) + " program, and the mail program serves " + other +
         " programs only: use the " + other + " program or a " + Bits(kOwnBits) + " Outlook";
}

std::string Repair(const MailClient& client, std::string_view fault) {
  return "its library " + platform::PathForDisplay(client.path) + " " + std::string(fault) +
         ": repair or reinstall it";
}

}  // namespace

Result<EntryPoints> SystemEntryPoints() {
  static const Result<EntryPoints> loaded = Load();
  return loaded;
}

std::string SystemMapiAdvice() {
  const MailClient client = platform::DefaultMailClient();
  const std::string isDefault = "The default mail program is " + platform::Utf16ToUtf8(client.name);
  switch (client.library) {
    case MailClient::Library::kOtherBits:
      return isDefault + ", but " + OtherBits();
    case MailClient::Library::kMissing:
      return isDefault + ", but " + Repair(client, "is missing");
    case MailClient::Library::kUnusable:
      return isDefault + ", but " + Repair(client, "cannot be used");
    case MailClient::Library::kFits:
      return isDefault + ": start it once to see whether it works, and close its dialogs";
    case MailClient::Library::kNone:
      break;
  }
  if (client.outlookBits != 0 && client.outlookBits != kOwnBits)
    return "Outlook is installed, but " + OtherBits();
  const std::string found = client.name.empty() ? "No default mail program is set"
                                                : isDefault + ", which offers no Extended MAPI";
  if (client.outlookBits != 0)
    return found + ": make Outlook the default (Settings, Apps, Default apps) and start it once";
  return found + ": install Outlook (the classic one, with Office) and make it the default";
}

}  // namespace parvane::mapi
