// Converts one mbox file with the library: convert_one IN.mbox OUT.pst
#include <cstdio>

#include "engine/callbacks.h"
#include "engine/factory/store_factory.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/diagnostics.h"
#include "platform/file.h"

using namespace QuelmarMIMEEngineCommon;

namespace {

// The engine's lines about single messages go here.
class Log : public ILogger {
 public:
  void WriteLog(std::u16string_view, bool, bool) override {}
};

void Convert(const std::u16string& source, const std::u16string& pst) {
  auto from =
      CWLEngine::StoreFactory::CreateStore(CWLEngine::kMBOXAssetStore, source, std::nullopt);
  auto to = CWLEngine::StoreFactory::CreateStoreMutable(CWLEngine::kOrphanPSTMAPIStore, pst,
                                                        std::nullopt);
  Log log;
  from->OpenStore(nullptr, nullptr, false, &log);
  if (to->OpenStore(nullptr, nullptr, true, &log) == OperationResultCode::Completed) {
    for (IAssetFolder* folder : from->GetStoreRootFolder()->GetSubFolders()) {
      IAssetFolderMutable* target =
          to->GetStoreRootFolderMutable()->CreateAssetFolder(u"Inbox", folder->FolderType());
      if (target) target->CopyAssets(folder, nullptr, &log, nullptr);
    }
  }
  to->Release();  // commits and closes the file
  from->Release();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  const std::u16string pst = parvane::platform::PathFromNative(argv[2]);
  parvane::mapi::SelectEntryPoints(parvane::mapi::BuiltinEntryPoints());
  MAPISystemUtilities::MAPIInitialize();
  Convert(parvane::platform::PathFromNative(argv[1]), pst);
  // What really is in the file.
  const parvane::mapi::StoreDiagnostics* result = parvane::mapi::FindStoreDiagnostics(pst);
  if (result)
    std::printf("%llu messages written\n",
                static_cast<unsigned long long>(result->messagesCommitted));
  MAPISystemUtilities::MAPIUninitialize();
  return result && result->firstFailure.result == 0 ? 0 : 1;
}
