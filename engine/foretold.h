// What a conversion of an item will have to say, as far as that is known before it: offered beside
// the items of sources.
#pragma once

#include "engine/source_observer.h"

namespace parvane::engine {

// An item that tells; found by dynamic_cast.
class IForetold {
 public:
  virtual ~IForetold() = default;
  // Its date, what repair changed, what it is marked with; parts and what MAPI will refuse only a
  // conversion knows. Known only of observed items (ObserveSource).
  virtual ConversionNotes Foretell() const = 0;
};

}  // namespace parvane::engine
