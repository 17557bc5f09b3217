// What messages hold, one line each, to be kept where the mail is not: a manifest says later
// whether all of it is there.
//
//   manifest := "# parvane manifest 1" LF comment* line* end
//   comment  := "#" byte* LF
//   line     := key TAB folder TAB Message-ID TAB subject TAB sent TAB delivered TAB
//               originator TAB recipients TAB text TAB html (TAB attachment)* LF
//   end      := "# end of " count " messages" LF
//
//   key         the 16 bytes of the search key, in hex
//   folder      names joined by "/"; one in a name is "\/"
//   sent        2019-05-03T06:12:45Z
//   originator  digests: SHA-256 in hex of what was normalised (content_reader.cpp) in UTF-8; of
//               the bodies, their text with every run of white space one blank
//   attachment  the SHA-256 of the file, a blank and its name; of a message, of its content, and
//               no name
//
// What there is none of is "-". In texts, "\t", "\n", "\r" and "\\" stand for these characters. The
// end shows that nothing was cut off.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

#include "moves/message_content.h"
#include "platform/file.h"

namespace parvane::moves {

std::string ManifestBeginning();
std::string ManifestLine(const std::vector<std::u16string>& folder, const MessageContent& content);
std::string ManifestEnd(std::uint64_t messages);

// Whether the file begins as one.
bool IsManifest(platform::FileSystem& files, std::u16string_view path);

class ManifestReader {
 public:
  static platform::Result<ManifestReader> Open(platform::FileSystem& files,
                                               std::u16string_view path);

  // The next message; false behind the last. Fails on a line that is none of a manifest's, and
  // when the end is missing.
  platform::Result<bool> Next(std::vector<std::u16string>& folder, MessageContent& content);
  // Bytes read of how many.
  std::uint64_t position() const { return _position - (_buffer.size() - _at); }
  std::uint64_t size() const { return _size; }

 private:
  ManifestReader() = default;
  // Without its end; false at the end of the file.
  platform::Result<bool> NextLine(std::string& line);
  platform::Status Fault(std::string_view what) const;

  std::unique_ptr<platform::RandomAccessFile> _file;
  std::string _path;  // for people
  std::uint64_t _size = 0, _position = 0, _lines = 0, _messages = 0;
  std::string _buffer;
  std::size_t _at = 0;
  bool _ended = false;
};

}  // namespace parvane::moves
