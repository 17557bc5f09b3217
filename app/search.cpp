#include "app/search.h"

#include <utility>

#include "platform/time.h"

namespace parvane::app {
namespace {

constexpr std::uint64_t kSlice = 100;  // milliseconds, after which others have their turn

Json PlaceJson(const desk::FoundPlace& place, std::optional<std::uint64_t> messages) {
  Json accounts = Json::array();
  for (const desk::FoundAccount& account : place.accounts) {
    accounts.push_back(
        {{"name", Utf8(account.name)}, {"folders", account.folders}, {"bytes", account.bytes}});
  }
  Json json;
  Name(json, place.paths);
  json.update(Json{{"kind", desk::CodeOf(place.kind)},
                   {"name", Utf8(place.name)},
                   {"detail", place.detail},
                   {"bytes", place.bytes},
                   {"folders", place.folders},
                   {"accounts", std::move(accounts)}});
  json["messages"] = messages ? Json(*messages) : Json(nullptr);
  return json;
}

}  // namespace

HttpAnswer Search::Ask() {
  const std::lock_guard lock(_mutex);
  if (!_looks) {
    _looks = true;
    _worker.Later([this] {
      _finder.emplace(desk::PlacesOfThisUser());
      _counted = 0;
      {
        const std::lock_guard anew(_mutex);
        _found.clear();
      }
      Step();
    });
  }
  Json places = Json::array();
  for (const Found& found : _found) places.push_back(PlaceJson(found.place, found.messages));
  return Answered(Json{{"places", std::move(places)}, {"looking", _looks}});
}

void Search::Step() {
  if (Look() || Count()) {
    _worker.Later([this] { Step(); });
    return;
  }
  const std::lock_guard lock(_mutex);
  _looks = false;
}

// False when there is nothing left to look at.
bool Search::Look() {
  const std::uint64_t end = platform::MonotonicMilliseconds() + kSlice;
  bool more = true;
  while (more && !_worker.IsWanted() && platform::MonotonicMilliseconds() < end)
    more = _finder->Step();
  Publish();
  return more;
}

void Search::Publish() {
  const std::lock_guard lock(_mutex);
  const auto& places = _finder->places();
  for (std::size_t i = 0; i < places.size(); ++i) {
    if (i >= _found.size()) _found.emplace_back();
    _found[i].place = places[i];
    _chosen.Add(places[i].paths, desk::CodeOf(places[i].kind));
  }
  _found.resize(places.size());
}

// False when all are counted.
bool Search::Count() {
  const auto& places = _finder->places();
  if (_counted == places.size()) return false;
  const auto messages =
      desk::CountMessages(places[_counted], [this] { return _worker.IsWanted(); });
  if (!messages && _worker.IsWanted()) return true;
  const std::lock_guard lock(_mutex);
  _found[_counted++].messages = messages;
  return true;
}

}  // namespace parvane::app
