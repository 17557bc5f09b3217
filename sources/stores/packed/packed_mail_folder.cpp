#include "sources/stores/packed/packed_mail_folder.h"

#include <utility>

#include "sources/state/fallback_date.h"
#include "sources/state/gmail_labels.h"
#include "sources/state/header_state.h"
#include "sources/state/keywords.h"
#include "sources/stores/packed/packed_mail_store.h"

namespace parvane::sources {

using QuelmarMIMEEngineCommon::MailAssetFolder;
using QuelmarMIMEEngineCommon::NullableString;

PackedMailFolder::PackedMailFolder(NullableString folderName, NullableString diskPath,
                                   PackedMailStore& store, PackedMailFolder* parent)
    : MailAssetFolder(std::move(folderName), std::move(diskPath), &store, parent), _store(store) {}

PackedMailFolder::~PackedMailFolder() { PackedMailFolder::Release(); }

// Whose turn it is goes on where the one before ended.
void PackedMailFolder::ResetQuery() {
  if (_store.TakesTurns()) return;
  _atEnd = false;
  MailAssetFolder::ResetQuery();
}

std::optional<MailAssetFolder::MessageOrigin> PackedMailFolder::ReadMessage(
    MessageBuffer& message) {
  if (!_store.TakesTurns() && _atEnd) return std::nullopt;
  if (_store.ReadMessageOf(*this, message))
    return MessageOrigin{_store.Pass().Series().Offset(), {}};
  _atEnd = !_store.TakesTurns();
  return std::nullopt;
}

engine::MessageState PackedMailFolder::StateOf(const StateHeaders& headers,
                                               const engine::StateWishes& wishes) {
  engine::MessageState state;
  if (_place && headers.Has(StateField::kGmailLabels)) {
    const std::vector<std::string> fields = headers.GmailLabels();
    ReadGmailLabels(fields, state, _store.Languages());
    Categories categories;
    for (std::u16string& name : CategoriesOf(LabelsIn(fields), _store.Languages(), *_place))
      categories.Add(std::move(name));
    state.moreCategories = categories.more();
    state.categories.Learn(categories.Take(), engine::StateOrigin::kLabels);
  }
  ReadHeaderState(headers, MailboxWriter::kOther, wishes, state);
  return state;
}

void PackedMailFolder::LearnDateElsewhere(engine::MessageState& state) {
  LearnDateOfSeparator(_store.Pass().Series().Separator(), state);
}

std::int64_t PackedMailFolder::UnitsOf(const engine::MessageLocation&) const {
  return static_cast<std::int64_t>(_store.Pass().TakeUnits());
}

void PackedMailFolder::Close() { _store.ClosePassOf(*this); }

void PackedMailFolder::ReportBreak(const platform::Status& why) {
  if (Observer()) Observer()->ReadFailed(*this, 0, why);
}

}  // namespace parvane::sources
