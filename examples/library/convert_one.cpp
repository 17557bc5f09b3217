// Converts one mbox file with the library: convert_one IN.mbox OUT.pst
#include <cstdio>
#include <memory>

#include "engine/callbacks.h"
#include "engine/destination_observer.h"
#include "engine/source_observer.h"
#include "factory/store_factory.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/diagnostics.h"
#include "platform/path.h"

using namespace QuelmarMIMEEngineCommon;

namespace {

// The engine's lines about single messages go here.
class Log : public ILogger {
 public:
  void WriteLog(std::u16string_view, bool, bool) override {}
};

// Sources report little by themselves: what could not be opened or read is told here alone.
class Observer : public parvane::engine::SourceObserver {
 public:
  void PathSkipped(std::u16string_view path, parvane::engine::SkipReason,
                   const parvane::platform::Status& why) override {
    Tell(path, why);
  }
  void ReadFailed(const IAssetFolder& folder, std::uint64_t,
                  const parvane::platform::Status& why) override {
    Tell(folder.FolderDiskPath().value_or(u""), why);
  }
  bool complete() const { return _complete; }

 private:
  void Tell(std::u16string_view path, const parvane::platform::Status& why) {
    _complete = false;
    std::fprintf(stderr, "%s: %s\n", parvane::platform::PathForDisplay(path).c_str(),
                 why.ok() ? "not read" : why.message().c_str());
  }

  bool _complete = true;
};

// Keeps what the PST counts, which stays when it has been closed.
class Witness : public parvane::engine::DestinationObserver {
 public:
  void StoreOpened(parvane::mapi::IMsgStore& store) override {
    record = parvane::mapi::DiagnosticsOf(store);
  }
  std::shared_ptr<const parvane::mapi::StoreDiagnostics> record;
};

// False when not all of the source has been read, or the PST could not be opened.
bool Convert(const std::u16string& source, const std::u16string& pst, Witness& witness) {
  auto from =
      CWLEngine::StoreFactory::CreateStore(CWLEngine::kMBOXAssetStore, source, std::nullopt);
  auto to = CWLEngine::StoreFactory::CreateStoreMutable(CWLEngine::kOrphanPSTMAPIStore, pst,
                                                        std::nullopt);
  Log log;
  Observer observer;
  parvane::engine::ObserveSource(*from, &observer);
  parvane::engine::ObserveDestination(*to, &witness);
  bool opened = from->OpenStore(nullptr, nullptr, false, &log) == OperationResultCode::Completed &&
                observer.complete();
  opened = opened && to->OpenStore(nullptr, nullptr, true, &log) == OperationResultCode::Completed;
  if (opened) {
    for (IAssetFolder* folder : from->GetStoreRootFolder()->GetSubFolders()) {
      IAssetFolderMutable* target =
          to->GetStoreRootFolderMutable()->CreateAssetFolder(u"Inbox", folder->FolderType());
      if (target) target->CopyAssets(folder, nullptr, &log, nullptr);
    }
  }
  to->Release();  // commits and closes the file
  from->Release();
  return opened && observer.complete();
}

}  // namespace

int main(int argc, char** argv) {
  if (argc != 3) return 2;
  parvane::mapi::SelectEntryPoints(parvane::mapi::BuiltinEntryPoints());
  MAPISystemUtilities::MAPIInitialize();
  Witness witness;
  const bool complete = Convert(parvane::platform::PathFromNative(argv[1]),
                                parvane::platform::PathFromNative(argv[2]), witness);
  // What really is in the file.
  const auto& result = witness.record;
  if (result) {
    std::printf("%llu messages written\n",
                static_cast<unsigned long long>(result->messagesCommitted));
  }
  MAPISystemUtilities::MAPIUninitialize();
  return complete && result && result->firstFailure.result == 0 ? 0 : 1;
}
