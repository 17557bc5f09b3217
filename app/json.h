// JSON as the interface of the window speaks it: what a request says, and what is answered.
#pragma once

#include <string>
#include <string_view>
#include <utility>

#include <nlohmann/json.hpp>

#include "app/http.h"
#include "platform/status.h"

namespace parvane::app {

// Members in the order in which they were written.
using Json = nlohmann::ordered_json;

// Why a request is refused: ends it, wherever it is thrown. Becomes {"error": "sentence", "code":
// "word"}.
struct Refusal {
  int status;
  std::string code;
  std::string error;
};

// As refusals: 404 where something is not there, 409 where it is there already or in use, otherwise
// 400.
Refusal RefusalOf(const platform::Status& status);

// What a request says, an object. Throws a Refusal where it is none.
Json Parse(std::string_view body);
// Invalid UTF-8 becomes U+FFFD.
std::string Print(const Json& json);
HttpAnswer Answered(const Json& json);
HttpAnswer Answered(const Refusal& refusal);

std::string Utf8(std::u16string_view text);

// A member; the default where it is missing or null. Throws a Refusal for one of another type.
std::string TextIn(const Json& json, const char* member);
bool FlagIn(const Json& json, const char* member);

}  // namespace parvane::app
