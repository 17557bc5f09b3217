#include "desk/keep_steps.h"

#include "engine/item_step.h"

namespace parvane::desk {

KeepSteps::KeepSteps(const KeepChoice& keep, SourceWitness& witness)
    : _keyStep(true),
      _stateStep(witness),
      _winmailStep(witness),
      _addressStep(witness),
      _itemInHand(witness) {
  if (keep.keys) _steps.Add(_keyStep);
  if (keep.state) _steps.Add(_stateStep);
  if (keep.headers) _steps.Add(_headerStep);
  if (keep.dates) _steps.Add(_dateStep);
  if (keep.parts) _steps.Add(_onceStep);
  if (keep.winmail) _steps.Add(_winmailStep);
  if (keep.addresses) _steps.Add(_addressStep);
  if (keep.parts) _steps.Add(_partsStep);
  if (keep.inlines) _steps.Add(_inlineStep);
  if (keep.headers || keep.dates || keep.parts || keep.inlines) _steps.Add(_itemInHand);
}

void KeepSteps::InsertInto(QuelmarMIMEEngineCommon::IAssetStore& destination) {
  if (!_steps.empty()) engine::InsertItemStep(destination, &_steps);
}

}  // namespace parvane::desk
