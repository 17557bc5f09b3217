#include "sources/emlx.h"

#include <cstdio>
#include <memory>
#include <string_view>

#include <pugixml.hpp>

#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"
#include "platform/path.h"

namespace QuelmarMIMEEngineCommon {

using Tessary::TsByteData;
using Tessary::TsMime;
using Tessary::TsString;

namespace {

void LoadPart(TsMime& part, const std::vector<int>& partPath, const std::string& fileBase,
              const std::string& directory) {
  TsString marker;
  if (!part.GetHeaderField("X-Apple-Content-Length", marker)) return;

  std::string path = directory + static_cast<char>(parvane::platform::kPathSeparator) + fileBase;
  for (const int index : partPath) path += "." + std::to_string(index + 1);
  path += ".emlxpart";

  TsByteData file;
  file.put_Utf8(true);
  if (!file.loadFile(path.c_str())) {
    std::printf("File not found: %s", path.c_str());
    return;
  }
  TsString encoding;
  part.encoding(encoding);
  part.SetBodyFromEncoded(encoding.getUtf8(), file);
}

}  // namespace

void LoadEMLXParts(TsMime* mime, std::vector<int> partPath, std::string fileBase,
                   std::string directory) {
  if (!mime) return;
  const int parts = mime->get_NumParts();
  if (parts == 0) return LoadPart(*mime, partPath, fileBase, directory);
  for (int i = 0; i < parts; ++i) {
    partPath.push_back(i);
    const std::unique_ptr<TsMime> part(mime->GetPart(i));
    LoadEMLXParts(part.get(), partPath, fileBase, directory);
    partPath.pop_back();
  }
}

void ReadPlist(pugi::xml_document& plist, std::map<std::string, std::string>& properties) {
  pugi::xml_node node = plist.child("plist").child("dict").first_child();
  for (; node; node = node.next_sibling()) {
    if (std::string_view(node.name()) != "key") continue;
    const std::string key = node.child_value();
    pugi::xml_node value = node.next_sibling();
    while (value && value.type() != pugi::node_element) value = value.next_sibling();
    properties[key] = value.child_value();
  }
}

}  // namespace QuelmarMIMEEngineCommon
