// The small values of the asset model: result codes, kinds of folders, the outcome of a copy.
#pragma once

#include <cstdint>
#include <optional>
#include <string>

namespace QuelmarMIMEEngineCommon {

// UTF-16 text that can be missing ("null"), which is not the same as empty.
using NullableString = std::optional<std::u16string>;

enum class OperationResultCode : std::int32_t {
  Completed = 0,
  Canceled = 1,
  Failed = 2,
  CompletedWithError = 3,
};

enum AssetFolderType : std::int32_t {
  kAssetFolderTypeNone = 0,
  kAssetFolderTypeAppointment = 1,
  kAssetFolderTypeContact = 2,
  kAssetFolderTypeJournal = 3,
  kAssetFolderTypeEmail = 4,
  kAssetFolderTypeStickyNote = 5,
  kAssetFolderTypeTask = 6,
  kAssetFolderTypeAssets = 7,
  kAssetFolderTypeFolderGroup = 8,
};

enum class ExportStatus : std::int32_t {
  Pending = 0,
  Begin = 1,
  Complete = 2,
  Canceled = 3,
};

// What one IAssetFolderMutable::CopyAssets did.
struct CopyResult {
  CopyResult(std::int32_t successCount, std::int32_t failCount, OperationResultCode code)
      : Code(code), SuccessAssetCount(successCount), FailAssetCount(failCount) {}

  OperationResultCode Code;
  std::int32_t SuccessAssetCount;  // items copied
  std::int32_t FailAssetCount;     // items that failed
};

}  // namespace QuelmarMIMEEngineCommon
