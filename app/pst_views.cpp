#include "app/pst_views.h"

#include <algorithm>
#include <charconv>
#include <utility>

#include "app/download.h"
#include "app/pst_json.h"
#include "platform/path.h"

namespace parvane::app {
namespace {

// Formats that browsers show, and that hold no script.
constexpr std::string_view kPictures[] = {"image/png", "image/jpeg", "image/gif", "image/webp",
                                          "image/bmp"};

std::string TextIn(const HttpRequest& request, const char* name) {
  const auto found = request.query.find(name);
  return found == request.query.end() ? std::string() : found->second;
}

std::uint64_t NumberIn(const HttpRequest& request, const char* name, std::uint64_t otherwise) {
  const std::string text = TextIn(request, name);
  if (text.empty()) return otherwise;
  std::uint64_t number = 0;
  const auto read = std::from_chars(text.data(), text.data() + text.size(), number);
  if (read.ec != std::errc() || read.ptr != text.data() + text.size())
    throw Refusal{400, "request", std::string(name) + " is no number"};
  return number;
}

}  // namespace

HttpAnswer PstViews::Open(const Json& request) {
  const std::u16string path = PathOf(request);
  _chosen.Require({path});
  Json json;
  _worker.Ask([&] {
    Close();
    auto opened = desk::PstViewer::Open(path);
    if (!opened.ok()) throw RefusalOf(opened.status());
    _open = std::move(opened).value();
    json = {{"pst", ++_number}, {"name", Utf8(platform::FileNameOfPath(path))}};
    json["folders"] = Json::array();
    for (const desk::ViewedFolder& folder : _open->folders())
      json["folders"].push_back(FolderJson(folder));
    json["unreadable"] = _open->unreadable();
  });
  return Answered(json);
}

HttpAnswer PstViews::Answer(const HttpRequest& request, std::string_view what) {
  unsigned number = 0;
  const auto read = std::from_chars(what.data(), what.data() + what.size(), number);
  what.remove_prefix(static_cast<std::size_t>(read.ptr - what.data()));
  HttpAnswer answer{404, "text/plain", {}};
  _worker.Ask([&] {
    const bool closes = request.method == "POST" && what == "/close";
    if (!_open || number != _number) {
      // Twice is no fault.
      if (!closes) throw Refusal{404, "closed", "this PST is not open any more"};
      answer = Answered(Json::object());
    } else if (closes) {
      Close();
      answer = Answered(Json::object());
    } else if (request.method == "GET") {
      answer = Look(request, what);
    }
  });
  return answer;
}

HttpAnswer PstViews::Look(const HttpRequest& request, std::string_view what) {
  const std::string id = TextIn(request, "id");
  if (what == "/messages") return Messages(request);
  if (what == "/message") return Message(id);
  if (what == "/document") return Document(request, id);
  if (what == "/attachment") return Attachment(request, id);
  return {404, "text/plain", {}};
}

HttpAnswer PstViews::Messages(const HttpRequest& request) {
  const std::uint64_t count = NumberIn(request, "count", desk::PstViewer::kMostRows);
  const auto page = _open->Messages(
      TextIn(request, "folder"), NumberIn(request, "from", 0),
      static_cast<std::size_t>(std::min<std::uint64_t>(count, desk::PstViewer::kMostRows)));
  if (!page.ok()) throw RefusalOf(page.status());
  Json rows = Json::array();
  for (const desk::ViewedRow& row : page->rows) rows.push_back(RowJson(row));
  return Answered(Json{{"total", page->total}, {"rows", std::move(rows)}});
}

HttpAnswer PstViews::Message(const std::string& id) {
  const auto message = _open->Message(id);
  if (!message.ok()) throw RefusalOf(message.status());
  return Answered(MessageJson(*message));
}

// A stranger's text: made safe, and shown in a box that may load the message's own pictures and do
// nothing.
HttpAnswer PstViews::Document(const HttpRequest& request, const std::string& id) {
  auto page = _open->Document(id, [&](std::uint32_t number) {
    return "attachment?id=" + id + "&n=" + std::to_string(number);
  });
  if (!page.ok()) throw RefusalOf(page.status());
  HttpAnswer answer{200, "text/html; charset=utf-8", std::move(page).value()};
  const std::string pictures = request.address + "api/pst/" + std::to_string(_number) + "/";
  answer.headers = {{"Content-Security-Policy", "sandbox; default-src 'none'; img-src " + pictures +
                                                    " data:; style-src 'unsafe-inline'; "
                                                    "base-uri 'none'; form-action 'none'; "
                                                    "frame-ancestors " +
                                                    request.origin}};
  return answer;
}

HttpAnswer PstViews::Attachment(const HttpRequest& request, const std::string& id) {
  HttpAnswer answer{200, "application/octet-stream", {}};
  const auto begin = [&](const desk::ViewedAttachment& attachment) {
    answer.headers.emplace_back("Content-Disposition", SaveAs(Utf8(attachment.name)));
    if (std::ranges::find(kPictures, attachment.type) != std::end(kPictures)) {
      answer.type = attachment.type;
      // The frame of the message has no origin that could be this one.
      answer.headers.emplace_back("Cross-Origin-Resource-Policy", "cross-origin");
    }
    return true;
  };
  const auto number = static_cast<std::uint32_t>(NumberIn(request, "n", 0));
  const auto read = _open->ReadAttachment(id, number, begin, [&](std::string_view piece) {
    answer.body += piece;
    return true;
  });
  if (!read.ok()) throw RefusalOf(read);
  return answer;
}

}  // namespace parvane::app
