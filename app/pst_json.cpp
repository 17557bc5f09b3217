#include "app/pst_json.h"

#include <cstdio>
#include <string>
#include <utility>
#include <vector>

#include "desk/format.h"

namespace parvane::app {
namespace {

using desk::MessageMarks;

void AddMarks(Json& json, const MessageMarks& marks) {
  json["unread"] = marks.unread;
  json["draft"] = marks.draft;
  json["flagged"] = marks.flag == MessageMarks::Flag::kFlagged;
  json["completed"] = marks.flag == MessageMarks::Flag::kCompleted;
  json["replied"] = marks.replied;
  json["forwarded"] = marks.forwarded;
  json["importance"] = static_cast<int>(marks.importance);
  json["categories"] = Json::array();
  for (const std::u16string& category : marks.categories)
    json["categories"].push_back(Utf8(category));
}

Json PersonJson(const desk::ViewedPerson& person) {
  return {{"name", Utf8(person.name)}, {"address", Utf8(person.address)}};
}

Json PeopleJson(const std::vector<desk::ViewedPerson>& people) {
  Json json = Json::array();
  for (const desk::ViewedPerson& person : people) json.push_back(PersonJson(person));
  return json;
}

Json AttachmentJson(const desk::ViewedAttachment& attachment) {
  return {{"n", attachment.number},           {"name", Utf8(attachment.name)},
          {"bytes", attachment.bytes},        {"type", attachment.type},
          {"inline", attachment.inPlace},     {"message", attachment.isMessage},
          {"elsewhere", attachment.elsewhere}};
}

Json PropertyJson(const desk::ViewedProperty& property) {
  char tag[11];
  std::snprintf(tag, sizeof tag, "0x%08X", static_cast<unsigned>(property.tag));
  return {
      {"tag", tag}, {"name", property.name}, {"type", property.type}, {"value", property.value}};
}

const char* CodeOf(desk::ViewedBody body) {
  switch (body) {
    case desk::ViewedBody::kHtml:
      return "html";
    case desk::ViewedBody::kText:
      return "text";
    case desk::ViewedBody::kNone:
      break;
  }
  return "none";
}

bool IsKnown(platform::FileTime time) { return platform::FileTimeTicks(time) != 0; }

}  // namespace

Json FolderJson(const desk::ViewedFolder& folder) {
  return {
      {"id", folder.id},           {"parent", folder.parent},
      {"name", Utf8(folder.name)}, {"messages", folder.messages},
      {"unread", folder.unread},   {"bytes", folder.bytes ? Json(*folder.bytes) : Json(nullptr)}};
}

Json RowJson(const desk::ViewedRow& row) {
  Json json{{"row", row.row},
            {"id", row.id},
            {"from", Utf8(row.from)},
            {"to", Utf8(row.to)},
            {"subject", Utf8(row.subject)},
            {"time", desk::IsoTime(row.time)},
            {"bytes", row.bytes},
            {"attachments", row.attachments}};
  AddMarks(json, row.marks);
  return json;
}

Json MessageJson(const desk::ViewedMessage& message) {
  Json json{
      {"subject", Utf8(message.subject)},
      {"from", PersonJson(message.from)},
      {"sender", message.sender ? PersonJson(*message.sender) : Json(nullptr)},
      {"to", PeopleJson(message.to)},
      {"cc", PeopleJson(message.cc)},
      {"bcc", PeopleJson(message.bcc)},
      {"time", desk::IsoTime(IsKnown(message.submitted) ? message.submitted : message.delivered)},
      {"delivered", desk::IsoTime(message.delivered)},
      {"bytes", message.bytes}};
  AddMarks(json, message.marks);
  json["headers"] = message.headers;
  json["body"] = CodeOf(message.body);
  json["attachments"] = Json::array();
  for (const desk::ViewedAttachment& attachment : message.attachments)
    json["attachments"].push_back(AttachmentJson(attachment));
  json["properties"] = Json::array();
  for (const desk::ViewedProperty& property : message.properties)
    json["properties"].push_back(PropertyJson(property));
  json["unreadable"] = message.unreadable;
  return json;
}

}  // namespace parvane::app
