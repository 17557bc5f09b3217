#include "app/json.h"

#include "platform/text.h"

namespace parvane::app {
namespace {

using platform::StatusCode;

Refusal WrongType(const char* member) {
  return {400, "request", std::string("\"") + member + "\" is not what it should be"};
}

}  // namespace

Refusal RefusalOf(const platform::Status& status) {
  switch (status.code()) {
    case StatusCode::kNotFound:
      return {404, "missing", status.message()};
    case StatusCode::kExists:
      return {409, "exists", status.message()};
    case StatusCode::kLocked:
      return {409, "inUse", status.message()};
    case StatusCode::kAccessDenied:
      return {403, "denied", status.message()};
    default:
      return {400, "unusable", status.message()};
  }
}

Json Parse(std::string_view body) {
  // Nesting costs the parser memory, and nothing here is nested deeper than a few levels.
  Json json = Json::parse(body, nullptr, false);
  if (!json.is_object()) throw Refusal{400, "request", "this is no JSON object"};
  return json;
}

std::string Print(const Json& json) {
  return json.dump(-1, ' ', false, Json::error_handler_t::replace);
}

HttpAnswer Answered(const Json& json) { return {200, "application/json", Print(json)}; }

HttpAnswer Answered(const Refusal& refusal) {
  return {refusal.status, "application/json",
          Print({{"error", refusal.error}, {"code", refusal.code}})};
}

std::string Utf8(std::u16string_view text) { return platform::Utf16ToUtf8(text); }

std::string TextIn(const Json& json, const char* member) {
  const auto found = json.find(member);
  if (found == json.end() || found->is_null()) return {};
  if (!found->is_string()) throw WrongType(member);
  return found->get<std::string>();
}

bool FlagIn(const Json& json, const char* member) {
  const auto found = json.find(member);
  if (found == json.end() || found->is_null()) return false;
  if (!found->is_boolean()) throw WrongType(member);
  return found->get<bool>();
}

}  // namespace parvane::app
