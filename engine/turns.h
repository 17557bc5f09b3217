// Sources whose mail can only be read from front to back, the messages of all folders mixed:
// exports where a label stands for a folder, archives. Read folder by folder, such a source is read
// as often as it has folders. Who takes its folders by turns instead reads it once:
//
//   TurnTaker* source = TurnTakerOf(*store);
//   source->BeginTurns();
//   while (IAssetFolder* folder = source->NextTurn()) target[folder]->CopyAssets(folder, ...);
//   source->EndTurns();
//
// A folder's turn ends (QueryAsset returns null) when the next message is another's; it may have
// any number of them. ResetQuery does not rewind it meanwhile.
#pragma once

#include "engine/folders.h"
#include "engine/stores.h"

namespace parvane::engine {

class TurnTaker {
 public:
  // From the first message on.
  virtual void BeginTurns() = 0;
  // The folder that the next message belongs to. Null when there are no more.
  virtual QuelmarMIMEEngineCommon::IAssetFolder* NextTurn() = 0;
  // From here on the folders are read by themselves again.
  virtual void EndTurns() = 0;

 protected:
  ~TurnTaker() = default;
};

// Null when the store's folders are read by themselves. An opened store.
inline TurnTaker* TurnTakerOf(QuelmarMIMEEngineCommon::IAssetStore& store) {
  return dynamic_cast<TurnTaker*>(&store);
}

}  // namespace parvane::engine
