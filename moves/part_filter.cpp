#include "moves/part_filter.h"

#include "moves/predicted_size.h"

namespace parvane::moves {
namespace {

// A folder may be made with some folders above it.
constexpr std::uint64_t kFoldersAtOnce = 8;

std::uint64_t SizeOf(QuelmarMIMEEngineCommon::IAsset& item) {
  const auto* shaped = dynamic_cast<const engine::IShapedAsset*>(&item);
  return PredictedSize(shaped ? shaped->Shape() : engine::MessageShape{});
}

}  // namespace

void PartFilter::BeginPart(bool empty) {
  _empty = empty;
  _full = false;
  _folderIsThere = false;
}

void PartFilter::BeginFolder(bool isThere) {
  _folderIsThere = isThere;
  // What is held back goes into it first, unasked.
  if (isThere && _holds) _empty = _holds = false;
}

Judgement PartFilter::Judge(QuelmarMIMEEngineCommon::IAsset& item) {
  const std::uint64_t folders = _folderIsThere ? 0 : kFoldersAtOnce * kPredictedFolder;
  _full = !_empty && SizeOf(item) + folders > _room();
  _holds = _full || !_folderIsThere;
  if (_holds) return {Verdict::kStop};
  _empty = false;
  return {};
}

}  // namespace parvane::moves
