#include "desk/expected_mail.h"

#include <utility>

#include "desk/folder_copy.h"
#include "desk/folders_there.h"
#include "desk/keep_steps.h"
#include "desk/pst_session.h"
#include "desk/selection.h"
#include "desk/source_plan.h"
#include "factory/source_factory.h"
#include "mapi/options.h"
#include "moves/memory_files.h"

namespace parvane::desk {
namespace {

// Nowhere but in memory.
constexpr std::u16string_view kScratchPath = u"/scratch.pst";

class Taker : public moves::ContentTaker {
 public:
  Taker(const ExpectedMail::Take& take, ContentWitness& witness) : _take(take), _witness(witness) {}

  void Take(const std::vector<std::u16string>& folder,
            const moves::MessageContent& content) override {
    _witness.ContentTaken();
    _take(folder, _witness.position(), content);
  }

 private:
  const ExpectedMail::Take& _take;
  ContentWitness& _witness;
};

// Lends the built-in MAPI files in memory as long as it lives.
class ScratchFiles {
 public:
  ScratchFiles() {
    mapi::BuiltinOptions options;
    options.newFileEncoding = mapi::BlockEncoding::kNone;
    options.files = &_files;
    mapi::SetBuiltinOptions(options);
  }
  ~ScratchFiles() { mapi::SetBuiltinOptions({}); }
  ScratchFiles(const ScratchFiles&) = delete;
  ScratchFiles& operator=(const ScratchFiles&) = delete;

 private:
  moves::MemoryFiles _files;
};

ConvertOptions AsForConvert(const VerifyOptions& options) {
  ConvertOptions convert;
  static_cast<SourceOptions&>(convert) = options;
  convert.dedup = options.dedup;
  return convert;
}

}  // namespace

void ContentWitness::EndFolder(const std::string& problem) {
  if (!_itemOpen) return;
  if (!_itemProblem) {
    _itemProblem = FailureKind::kBrokeOff;
    _itemProblemDetail = problem;
  }
  FinishItem();
}

bool ContentWitness::Cancel() {
  FinishItem();
  return SourceWitness::Cancel();
}

void ContentWitness::FinishItem() {
  if (!_itemOpen) return;
  _itemOpen = false;
  // What is not to be had of it here, is not in the PST either.
  AddRefusals({});
  if (!std::exchange(_taken, false) && !_itemProblem) _itemProblem = FailureKind::kNotConverted;
  if (_itemProblem) {
    AddFailure(_item, *_itemProblem, std::move(_itemProblemDetail), {});
  } else {
    ++_record.folders[_item.folder].written;
  }
}

bool ExpectedMail::Fail(const platform::Status& status) {
  if (!status.ok()) _record.Fail(status);
  return false;
}

// As a conversion into these PSTs does.
bool ExpectedMail::AvoidForeignFolders() {
  for (const std::u16string& pst : _psts) {
    auto there = FoldersThere::In(pst);
    if (!there.ok()) return Fail(there.status());
    _sources.plan().Avoid(*there);
  }
  return true;
}

void ExpectedMail::Read(const Take& take) {
  // What nobody could parse was kept when it was converted.
  factory::KeepErrorDump(false);
  auto sources = RecogniseSources(_options);
  if (!sources.ok()) return (void)Fail(sources.status());
  if (!_sources.Open(*sources) || !AvoidForeignFolders()) return;
  const ScratchFiles files;
  auto session = PstSession::Open(kScratchPath, PstSession::Access::kWrite);
  if (!session.ok()) return (void)Fail(session.status());
  auto scratch = session->TopFolder();
  if (!scratch.ok()) return (void)Fail(scratch.status());
  Taker taker(take, _witness);
  moves::ContentStore store(session->session(), **scratch, taker);
  KeepSteps steps(_options.keep, _witness);
  steps.InsertInto(store);
  const ConvertOptions convert = AsForConvert(_options);
  Selection selection(convert);
  _witness.BeginReading();
  FolderCopy(_sources.plan(), selection, _record, _witness, _logs, _progress, _observer)
      .Run(store.top());
}

}  // namespace parvane::desk
