#include "desk/pst_account.h"

#include <utility>

#include <fmt/format.h>

#include "mapi/results.h"
#include "platform/file.h"
#include "platform/path.h"

namespace parvane::desk {
namespace {

using engine::DestinationStep;

// Of the built-in MAPI, which keeps a record of its own: what counts is in the file.
class OfDiagnostics final : public PstAccount {
 public:
  OfDiagnostics(std::u16string_view path, std::shared_ptr<const mapi::StoreDiagnostics> record)
      : PstAccount(path), _record(std::move(record)) {}

  std::uint64_t Saved() const override { return Record().messagesSaved; }
  std::uint64_t Committed() const override { return Record().messagesCommitted; }
  bool TellsCommits() const override { return true; }
  std::uint64_t FileSize() const override { return Record().fileSize; }
  bool IsOpen() const override { return Record().isOpen; }
  bool HasPassword() const override { return Record().hasPassword; }
  bool MapsRebuilt() const override { return Record().mapsRebuilt; }
  bool Failed() const override { return Record().latched || Record().sizeLimitReached; }
  bool Full() const override {
    const mapi::HRESULT why = Record().writeFailure.result;
    return Record().sizeLimitReached && (why == 0 || why == mapi::MAPI_E_STORE_FULL);
  }
  std::uint64_t RoomLeft() const override { return Record().roomLeft; }
  std::uint64_t Failures() const override { return Record().failures; }
  std::string LastFailure() const override { return Record().lastFailure.text; }
  std::string WriteFailure() const override { return Record().writeFailure.text; }
  std::string Reason() const override {
    // Before there is a store, a failure is of no store.
    if (!_record) return mapi::LastFailure().text;
    return Record().writeFailure.result != 0 ? Record().writeFailure.text
                                             : Record().firstFailure.text;
  }

  void StoreOpened(mapi::IMsgStore& store) override { _record = mapi::DiagnosticsOf(store); }

 private:
  const mapi::StoreDiagnostics& Record() const {
    static const mapi::StoreDiagnostics kUntouched;
    return _record ? *_record : kUntouched;
  }

  std::shared_ptr<const mapi::StoreDiagnostics> _record;
};

std::string_view NameOf(DestinationStep step) {
  switch (step) {
    case DestinationStep::kAdministerProfiles:
      return "MAPI gives no access to its profiles";
    case DestinationStep::kConfigureService:
      return "MAPI could not make or open the PST";
    case DestinationStep::kLogOn:
      return "MAPI refused the log-on";
    case DestinationStep::kOpenStore:
      return "MAPI could not open the PST";
    case DestinationStep::kOpenTopFolder:
      return "MAPI could not open the top folder of the PST";
    case DestinationStep::kCreateFolder:
      return "MAPI could not make a folder";
    case DestinationStep::kCreateMessage:
      return "MAPI could not make a message";
    case DestinationStep::kSaveMessage:
      return "MAPI could not save a message";
    case DestinationStep::kLogOff:
      return "MAPI could not close the PST properly: the last messages may be missing in it";
  }
  return "MAPI failed";
}

struct Meaning {
  mapi::HRESULT result;
  std::string_view text;
  bool ofTheFile;  // it will take no other message either
};

// Where two systems name one cause, both are here: streams answer with results of storage.
constexpr Meaning kMeanings[] = {
    {mapi::MAPI_E_NO_ACCESS, "no access", false},
    {mapi::MAPI_E_NOT_ENOUGH_MEMORY, "not enough memory", false},
    {mapi::MAPI_E_NOT_ENOUGH_DISK, "the disk is full", true},
    {mapi::STG_E_MEDIUMFULL, "the disk is full", true},
    {mapi::MAPI_E_STORE_FULL, "the PST is as large as it may be", true},
    {mapi::MAPI_E_DISK_ERROR, "the disk failed", true},
    {mapi::MAPI_E_CORRUPT_STORE, "the PST is damaged", true},
    {mapi::MAPI_E_END_OF_SESSION, "the session has ended", true},
    {mapi::MAPI_E_NOT_FOUND, "not found", false},
    {mapi::MAPI_E_TOO_BIG, "too large", false},
    {mapi::MAPI_E_TABLE_TOO_BIG, "too many", false},
    {mapi::MAPI_E_NO_SUPPORT, "not supported", false},
    {mapi::MAPI_E_INVALID_TYPE, "not of a type it takes", false},
    {mapi::MAPI_E_LOGON_FAILED, "log-on failed", false},
    {mapi::MAPI_E_NOT_INITIALIZED, "MAPI is not running", false},
    {mapi::MAPI_E_BUSY, "busy", false},
    {mapi::MAPI_E_USER_CANCEL, "cancelled by the user", false},
};

const Meaning* MeaningOf(std::int32_t result) {
  for (const Meaning& meaning : kMeanings) {
    if (meaning.result == result) return &meaning;
  }
  return nullptr;
}

// Of the system's MAPI, of which nothing is known but its results. What it took counts as written,
// because nothing more can be learned; a report says so (writtenMeans).
class OfResults final : public PstAccount {
 public:
  using PstAccount::PstAccount;

  std::uint64_t Saved() const override { return _saved; }
  std::uint64_t Committed() const override { return _saved; }
  bool TellsCommits() const override { return false; }
  std::uint64_t FileSize() const override {
    return platform::FileSystem::Default().Inspect(Path()).size;
  }
  bool IsOpen() const override {
    return _open && platform::FileSystem::Default().FileExists(Path());
  }
  bool Failed() const override { return !_writeFailure.empty(); }
  std::uint64_t Failures() const override { return _failures; }
  std::string LastFailure() const override { return _lastFailure; }
  std::string WriteFailure() const override { return _writeFailure; }
  std::string Reason() const override {
    return _writeFailure.empty() ? _firstFailure : _writeFailure;
  }

  void MapiAnswered(DestinationStep step, std::int32_t result) override {
    if (mapi::Succeeded(result)) {
      _saved += step == DestinationStep::kSaveMessage;
      _open = _open || step == DestinationStep::kOpenStore;
      return;
    }
    const Meaning* meaning = MeaningOf(result);
    // A refused message is one message; the file's own failures end the run, and so does a log-off
    // that failed, which is where Outlook writes what it held back.
    const bool final = step == DestinationStep::kLogOff || (meaning && meaning->ofTheFile);
    ++_failures;
    _lastFailure = fmt::format("{}: {} ({})", platform::PathForDisplay(Path()), NameOf(step),
                               ResultText(result));
    if (_firstFailure.empty()) _firstFailure = _lastFailure;
    if (final && _writeFailure.empty()) _writeFailure = _lastFailure;
  }

 private:
  std::uint64_t _saved = 0;
  std::uint64_t _failures = 0;
  bool _open = false;
  std::string _firstFailure;
  std::string _lastFailure;
  std::string _writeFailure;
};

}  // namespace

std::unique_ptr<PstAccount> BuiltinAccount(std::u16string_view path,
                                           std::shared_ptr<const mapi::StoreDiagnostics> record) {
  return std::make_unique<OfDiagnostics>(path, std::move(record));
}
std::unique_ptr<PstAccount> SystemAccount(std::u16string_view path) {
  return std::make_unique<OfResults>(path);
}

std::string ResultText(std::int32_t result) {
  const Meaning* meaning = MeaningOf(result);
  return fmt::format("0x{:08X}{}{}", static_cast<std::uint32_t>(result), meaning ? ", " : "",
                     meaning ? meaning->text : "");
}

}  // namespace parvane::desk
