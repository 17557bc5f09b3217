#include <algorithm>
#include <optional>

#include "mapi/builtin/environment.h"
#include "mapi/builtin/profiles.h"
#include "mapi/builtin/store_core.h"
#include "mapi/builtin/values.h"
#include "mapi/constants.h"
#include "mapi/options.h"
#include "mapi/results.h"
#include "platform/path.h"
#include "platform/text.h"

namespace parvane::mapi::builtin {
namespace {

using platform::FileKind;
using platform::Status;
using platform::StatusCode;
using pstfile::PstStore;

// What a call of ConfigureMsgService asks for.
struct Settings {
  std::optional<std::u16string> path;
  std::optional<std::u16string> displayName;
  std::optional<std::u16string> comment;
  std::optional<ULONG> encryption;
  ULONG configFlags = 0;
};

std::optional<std::u16string> TextOf(const SPropValue& value) {
  if (PropType(value.ulPropTag) == PT_UNICODE && value.Value.lpszW != nullptr) {
    return std::u16string(value.Value.lpszW);
  }
  if (PropType(value.ulPropTag) == PT_STRING8 && value.Value.lpszA != nullptr) {
    return platform::AnsiToUtf16(value.Value.lpszA);
  }
  return std::nullopt;
}

Settings ReadSettings(std::span<const SPropValue> values) {
  Settings settings;
  for (const SPropValue& value : values) {
    switch (PropId(value.ulPropTag)) {
      case PropId(PR_PST_PATH_W):
        settings.path = TextOf(value);
        break;
      case PropId(PR_DISPLAY_NAME_W):
        settings.displayName = TextOf(value);
        break;
      case PropId(PR_COMMENT_W):
        settings.comment = TextOf(value);
        break;
      case PropId(PR_PST_ENCRYPTION):
        if (value.ulPropTag == PR_PST_ENCRYPTION) settings.encryption = value.Value.ul;
        break;
      case PropId(PR_PST_CONFIG_FLAGS):
        if (value.ulPropTag == PR_PST_CONFIG_FLAGS) settings.configFlags = value.Value.ul;
        break;
      default:
        break;  // passwords and the like have no meaning here
    }
  }
  return settings;
}

pstfile::StoreEncoding EncodingFor(const Settings& settings) {
  BlockEncoding chosen = CurrentBuiltinOptions().newFileEncoding;
  if (settings.encryption) {
    const ULONG wanted = *settings.encryption;
    // Of several flags the strongest.
    if ((wanted & PSTF_NO_ENCRYPTION) != 0) chosen = BlockEncoding::kNone;
    if ((wanted & PSTF_COMPRESSABLE_ENCRYPTION) != 0) chosen = BlockEncoding::kCompressible;
    if ((wanted & PSTF_BEST_ENCRYPTION) != 0) chosen = BlockEncoding::kBest;
  }
  switch (chosen) {
    case BlockEncoding::kNone:
      return pstfile::StoreEncoding::kNone;
    case BlockEncoding::kBest:
      return pstfile::StoreEncoding::kCyclic;
    default:
      return pstfile::StoreEncoding::kPermute;
  }
}

platform::Result<std::unique_ptr<PstStore>> CreateFile(const std::u16string& path,
                                                       const Settings& settings, bool empty) {
  pstfile::StoreCreateOptions options;
  options.displayName = settings.displayName.value_or(CurrentBuiltinOptions().newStoreName);
  if (options.displayName.empty()) options.displayName = platform::StemOfPath(path);
  options.encoding = EncodingFor(settings);
  options.store = TheEnvironment().storeOptions;
  options.store.sizeLimit = CurrentBuiltinOptions().sizeLimit;
  options.unfinished = CurrentBuiltinOptions().newStoreUnfinished;
  if (empty) {
    using EmptyFile = pstfile::StoreCreateOptions::EmptyFile;
    options.emptyFile = options.unfinished ? EmptyFile::kFilled : EmptyFile::kReplaced;
  }
  return PstStore::Create(Files(), path, options);
}

platform::Result<std::unique_ptr<PstStore>> OpenOrCreateFile(const std::u16string& path,
                                                             const Settings& settings) {
  const platform::FileInformation there = Files().Inspect(path);
  const bool readOnly = CurrentBuiltinOptions().readOnly;
  const bool absent = there.kind == FileKind::kNone;
  const bool empty = there.kind == FileKind::kFile && there.size == 0;
  if (!absent && !empty) {
    return PstStore::Open(
        Files(), path,
        readOnly ? pstfile::StoreOpenMode::kRead : pstfile::StoreOpenMode::kReadWrite,
        TheEnvironment().storeOptions);
  }
  if (readOnly) {
    return Status(StatusCode::kNotFound,
                  platform::PathForDisplay(path) + ": " + (absent ? "no such file" : "empty file"));
  }
  return CreateFile(path, settings, empty);
}

// Name and comment of a file that exists already; those of a new one are in it from the start.
Status ApplyNames(PstStore& store, const Settings& settings, bool created) {
  pstfile::PropertyList list;
  const bool keepName = created || (settings.configFlags & PST_CONFIG_PRESERVE_DISPLAY_NAME) != 0;
  if (settings.displayName && !keepName) {
    list.SetText(ToTag(PR_DISPLAY_NAME_W), *settings.displayName);
  }
  if (settings.comment) list.SetText(ToTag(PR_COMMENT_W), *settings.comment);
  return list.empty() ? Status() : store.ChangeStoreProperties(list);
}

}  // namespace

HRESULT ConfigureService(Service& service, std::span<const SPropValue> values) {
  const Settings settings = ReadSettings(values);
  const std::u16string path = settings.path.value_or(service.path);
  if (path.empty()) return MAPI_E_UNCONFIGURED;

  const platform::FileInformation there = Files().Inspect(path);
  const bool created = there.kind == FileKind::kNone || there.size == 0;
  auto store = OpenOrCreateFile(path, settings);
  if (!store.ok()) return NoteFileFailure(path, store.status());
  Status status = ApplyNames(**store, settings, created);
  std::u16string name;
  if (status.ok()) {
    auto properties = (*store)->OpenStoreProperties();
    status = properties.status();
    if (status.ok()) {
      name = properties->Text(ToTag(PR_DISPLAY_NAME_W)).ok()
                 ? *properties->Text(ToTag(PR_DISPLAY_NAME_W))
                 : platform::StemOfPath(path);
    }
  }
  const pstfile::RecordKey key = (*store)->recordKey();
  // The log-on opens it again, and holds it from then on.
  const Status closed = (*store)->Close();
  if (status.ok()) status = closed;
  if (!status.ok()) return NoteFileFailure(path, status);
  service.path = path;
  service.storeName = name;
  service.recordKey.assign(key.begin(), key.end());
  return S_OK;
}

}  // namespace parvane::mapi::builtin
