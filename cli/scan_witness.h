// Keeps the account of a scan: what the sources report, and what a conversion of each message
// would, as far as reading tells.
#pragma once

#include <string>

#include "carry/forecast.h"
#include "cli/options.h"
#include "cli/source_witness.h"
#include "engine/assets.h"
#include "engine/foretold.h"
#include "engine/message_facts.h"
#include "engine/sibling_cast.h"

namespace parvane::cli {

class ScanWitness : public SourceWitness {
 public:
  ScanWitness(ConversionRecord& record, Logs& logs, const platform::InterruptWatch& interrupt,
              const KeepChoice& keep)
      : SourceWitness(record, logs, interrupt),
        _forecast({keep.state, keep.headers, keep.dates}, *this, *this) {}

  // The item read last.
  void Take(QuelmarMIMEEngineCommon::IAsset& item);

  void EndFolder(const std::string& problem) override;
  bool Cancel() override;

 private:
  void TakeDate(QuelmarMIMEEngineCommon::IAsset& item);
  void FinishItem();

  carry::Forecast _forecast;
  engine::SiblingCast<engine::IForetold, QuelmarMIMEEngineCommon::IAsset> _foretoldOf;
  engine::SiblingCast<engine::IMessageFacts, QuelmarMIMEEngineCommon::IAsset> _factsOf;
};

}  // namespace parvane::cli
