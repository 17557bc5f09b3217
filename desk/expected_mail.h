// The mail that a conversion of the sources would put into a PST, read without writing one.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "desk/conversion_record.h"
#include "desk/logs.h"
#include "desk/options.h"
#include "desk/progress.h"
#include "desk/run_observer.h"
#include "desk/source_opening.h"
#include "desk/source_witness.h"
#include "moves/content_store.h"

namespace parvane::desk {

// Where nothing is written, a message is done when its content has been taken.
class ContentWitness : public SourceWitness {
 public:
  using SourceWitness::SourceWitness;

  void ContentTaken() { _taken = true; }
  std::uint64_t position() const { return _item.position; }

  void EndFolder(const std::string& problem) override;
  bool Cancel() override;

 private:
  void FinishItem();

  bool _taken = false;
};

class ExpectedMail {
 public:
  using Take = std::function<void(const std::vector<std::u16string>& folder, std::uint64_t position,
                                  const moves::MessageContent& content)>;

  // Of a conversion into these PSTs. All must outlive it. MAPI runs, and no store is open.
  ExpectedMail(const VerifyOptions& options, const std::vector<std::u16string>& psts,
               ConversionRecord& record, RunObserver& observer)
      : _options(options),
        _psts(psts),
        _record(record),
        _observer(observer),
        _witness(record, _logs, observer),
        _progress(observer, record),
        _sources(options, record, _witness, _progress) {}

  // Folder by folder, each message with its position in its source. Whatever cannot be read is in
  // the record, whose error says why when not all could be.
  void Read(const Take& take);

 private:
  bool AvoidForeignFolders();
  bool Fail(const platform::Status& status);

  const VerifyOptions& _options;
  const std::vector<std::u16string>& _psts;
  ConversionRecord& _record;
  const RunObserver& _observer;
  Logs _logs;
  ContentWitness _witness;
  Progress _progress;
  SourceOpening _sources;  // after the witness, which its stores tell
};

}  // namespace parvane::desk
