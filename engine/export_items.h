// For applications that track the items of an export. The engine itself neither calls nor
// implements these.
#pragma once

#include "engine/folders.h"
#include "engine/values.h"

namespace QuelmarMIMEEngineCommon {

// A marker.
class IExportItem {
 public:
  virtual ~IExportItem() = default;
};

class IExportItemHandler {
 public:
  virtual ~IExportItemHandler() = default;
  virtual void NotifyStatusChanged(ExportStatus newStatus, IExportItem* forThis) = 0;
};

class IExportItemAssetFolder : public IExportItem {
 public:
  virtual IAssetFolder* AssetFolder() const = 0;
};

}  // namespace QuelmarMIMEEngineCommon
