// Choices about the built-in Extended MAPI that MAPI itself has no words for. Set before the
// service is configured or the profile logged on to; they hold for what is opened afterwards.
#pragma once

#include <cstdint>
#include <string>

#include "platform/file.h"

namespace parvane::mapi {

// How the blocks of a new personal folder file are encoded. This hides text from a casual look; it
// is no encryption. A PR_PST_ENCRYPTION given to ConfigureMsgService overrides it.
enum class BlockEncoding { kNone, kCompressible, kBest };

struct BuiltinOptions {
  BlockEncoding newFileEncoding = BlockEncoding::kCompressible;
  // Bytes a file may grow to; 0: as far as the format goes.
  std::uint64_t sizeLimit = 0;
  // Display name of a new store; empty: taken from the file's name.
  std::u16string newStoreName;
  // Opens every store for reading only, whatever access is asked for.
  bool readOnly = false;
  // A new store is marked as unfinished until somebody takes the mark off
  // (pstfile/ndb/unfinished.h), and an empty file at its path is filled where it stands: the
  // caller has made that file and holds it.
  bool newStoreUnfinished = false;
  // Where files are opened, for a caller who lends one that is open already; null: the machine's
  // own. Must outlive every store that is opened.
  platform::FileSystem* files = nullptr;
};

void SetBuiltinOptions(const BuiltinOptions& options);
const BuiltinOptions& CurrentBuiltinOptions();

}  // namespace parvane::mapi
