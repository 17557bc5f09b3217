// Keeps the account of a scan: what the sources report, and what a conversion of each message
// would, as far as reading tells.
#pragma once

#include <string>

#include "carry/forecast.h"
#include "desk/options.h"
#include "desk/source_witness.h"
#include "engine/assets.h"
#include "engine/foretold.h"
#include "engine/message_facts.h"
#include "engine/sibling_cast.h"

namespace parvane::desk {

class ScanWitness : public SourceWitness {
 public:
  ScanWitness(ConversionRecord& record, Logs& logs, const RunObserver& observer,
              const KeepChoice& keep)
      : SourceWitness(record, logs, observer),
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

}  // namespace parvane::desk
