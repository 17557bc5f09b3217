#include "archives/archive_reader.h"

#include <algorithm>
#include <array>
#include <exception>
#include <limits>
#include <span>
#include <utility>
#include <vector>

#include <archive.h>
#include <archive_entry.h>

#include "archives/system.h"
#include "platform/stage_times.h"

namespace parvane::archives {
namespace {

using platform::Result;
using platform::Status;
using platform::StatusCode;

// What is read of the archive at a time.
constexpr std::size_t kReadSize = 256u << 10;
// A damaged entry is passed over by reading the archive's directory again.
constexpr int kMostDamaged = 100;

struct FreeReader {
  void operator()(archive* reader) const { archive_read_free(reader); }
};

// The archive's file, as the library reads it.
class PackedFile {
 public:
  PackedFile(std::unique_ptr<platform::RandomAccessFile> file, std::uint64_t size)
      : _file(std::move(file)), _size(size), _buffer(kReadSize) {}

  std::uint64_t size() const { return _size; }
  std::uint64_t position() const { return _position; }
  std::uint64_t bytesRead() const { return _bytesRead; }
  const Status& status() const { return _status; }
  void Rewind() { _position = 0; }

  la_ssize_t Read(const void** bytes) noexcept {
    try {
      const auto count = _file->ReadAt(_position, std::as_writable_bytes(std::span(_buffer)));
      if (!count.ok()) {
        _status = count.status();
        return -1;
      }
      _position += *count;
      _bytesRead += *count;
      *bytes = _buffer.data();
      return static_cast<la_ssize_t>(*count);
    } catch (const std::exception&) {
      return -1;
    }
  }

  la_int64_t Seek(la_int64_t offset, int whence) {
    const auto size = static_cast<la_int64_t>(_size);
    const la_int64_t base =
        whence == SEEK_SET ? 0 : (whence == SEEK_END ? size : static_cast<la_int64_t>(_position));
    // Both lie within what a file may be long.
    if (offset > size || offset < -size) return ARCHIVE_FATAL;
    const la_int64_t wanted = std::clamp<la_int64_t>(base + offset, 0, size);
    _position = static_cast<std::uint64_t>(wanted);
    return wanted;
  }

  la_int64_t Skip(la_int64_t count) {
    const auto left = static_cast<la_int64_t>(_size - std::min(_position, _size));
    const la_int64_t skipped = std::clamp<la_int64_t>(count, 0, left);
    _position += static_cast<std::uint64_t>(skipped);
    return skipped;
  }

 private:
  std::unique_ptr<platform::RandomAccessFile> _file;
  std::uint64_t _size;
  std::vector<char> _buffer;
  std::uint64_t _position = 0;
  std::uint64_t _bytesRead = 0;
  Status _status;
};

la_ssize_t ReadFile(archive*, void* file, const void** bytes) {
  return static_cast<PackedFile*>(file)->Read(bytes);
}
la_int64_t SeekFile(archive*, void* file, la_int64_t offset, int whence) {
  return static_cast<PackedFile*>(file)->Seek(offset, whence);
}
la_int64_t SkipFile(archive*, void* file, la_int64_t count) {
  return static_cast<PackedFile*>(file)->Skip(count);
}

Status FailureOf(archive* reader, const PackedFile& file) {
  if (!file.status().ok()) return file.status();
  const char* text = archive_error_string(reader);
  return {StatusCode::kCorrupt, text == nullptr ? "damaged" : text};
}

// The bytes of one entry.
class EntryStream final : public platform::InputStream {
 public:
  // `unpacked` counts what is read of all entries.
  void Begin(archive* reader, const PackedFile& file, std::uint64_t& unpacked) {
    End();
    _reader = reader;
    _file = &file;
    _unpacked = &unpacked;
    _packedBefore = file.bytesRead();
    _position = 0;
    _broken = false;
    _status = {};
  }
  // There is nothing more to read.
  void End() {
    _reader = nullptr;
    _bytes = {};
    _hole = 0;
  }
  void Fail(Status why) {
    _status = std::move(why);
    _reader = nullptr;
  }
  // The library can read nothing more, of this entry or the next.
  bool broken() const { return _broken; }

  std::span<const char> Buffer() override {
    while (_bytes.empty() && _hole == 0 && _reader != nullptr) Read();
    return _hole > 0 ? std::span(kZeros).first(std::min<std::uint64_t>(_hole, kZeros.size()))
                     : _bytes;
  }
  void Skip(std::size_t count) override {
    if (_hole > 0) {
      count = static_cast<std::size_t>(std::min<std::uint64_t>(count, _hole));
      _hole -= count;
    } else {
      count = std::min(count, _bytes.size());
      _bytes = _bytes.subspan(count);
    }
    _position += count;
    *_unpacked += count;
  }
  std::uint64_t Position() const override { return _position; }
  const Status& status() const override { return _status; }

 private:
  // What a sparse file does not have.
  static constexpr std::array<char, 4096> kZeros{};

  void Read() {
    const platform::StageMark mark(platform::Stage::kRead);
    if (UnpacksTooMuch()) {
      return Fail({StatusCode::kTooBig,
                   "unpacks to more than " + std::to_string(kUnpackedTimes) + " times its size"});
    }
    const void* bytes = nullptr;
    std::size_t size = 0;
    la_int64_t offset = 0;
    const int result = archive_read_data_block(_reader, &bytes, &size, &offset);
    if (result == ARCHIVE_EOF) {
      _reader = nullptr;
      return;
    }
    // A block that proves damaged comes along with the failure.
    if (result == ARCHIVE_OK || result == ARCHIVE_WARN) {
      _bytes = {static_cast<const char*>(bytes), size};
      if (offset > 0 && static_cast<std::uint64_t>(offset) > _position)
        _hole = static_cast<std::uint64_t>(offset) - _position;
      mark.CountBytes(size);
    }
    if (result == ARCHIVE_OK) return;
    _broken = result == ARCHIVE_FATAL;
    Fail(FailureOf(_reader, *_file));
  }

  bool UnpacksTooMuch() const {
    const auto within = [](std::uint64_t unpacked, std::uint64_t packed) {
      return unpacked <= kUnpackedAlways || unpacked / kUnpackedTimes <= packed;
    };
    // What lies over one another is read again and again.
    return !within(_position, _file->bytesRead() - _packedBefore) ||
           !within(*_unpacked, _file->size());
  }

  archive* _reader = nullptr;
  const PackedFile* _file = nullptr;
  std::uint64_t* _unpacked = nullptr;
  std::span<const char> _bytes;  // the reader's
  std::uint64_t _hole = 0;       // before them
  std::uint64_t _position = 0;
  std::uint64_t _packedBefore = 0;
  bool _broken = false;
  Status _status;
};

class Reader final : public ArchiveReader {
 public:
  Reader(PackedFile file, Packing packing, Contents contents)
      : _file(std::move(file)), _packing(packing), _contents(contents) {
    Begin(Way::kByDirectory);
  }

  bool Next(Entry& entry) override {
    const bool damaged = std::exchange(_begun, false) && _stream.broken();
    _stream.End();  // its bytes are gone with the next header
    if (damaged && !PassOver(Way::kByDirectory)) return false;
    while (ReadHeader()) {
      if (archive_entry_filetype(_entry) != AE_IFREG || archive_entry_hardlink(_entry)) continue;
      const bool alone = archive_format(_reader.get()) == ARCHIVE_FORMAT_RAW;
      entry.name = alone ? std::u16string() : NameOfEntry(_entry);
      entry.size.reset();
      if (!alone && archive_entry_size_is_set(_entry) && archive_entry_size(_entry) >= 0)
        entry.size = static_cast<std::uint64_t>(archive_entry_size(_entry));
      _stream.Begin(_reader.get(), _file, _unpacked);
      if (archive_entry_is_data_encrypted(_entry))
        _stream.Fail({StatusCode::kUnsupported, "is encrypted"});
      _begun = true;
      return true;
    }
    return false;
  }

  platform::InputStream& Stream() override { return _stream; }
  const Status& status() const override { return _status; }
  std::uint64_t Position() const override { return std::min(_file.position(), _file.size()); }

 private:
  // A zip archive has a directory at its end; one that is damaged or cut off is read by what stands
  // in front of each entry.
  enum class Way { kByDirectory, kByEntries };

  void Begin(Way way) {
    _way = way;
    _headers = 0;
    _entry = nullptr;
    _file.Rewind();
    _reader.reset(archive_read_new());
    archive* reader = _reader.get();
    if (_packing == Packing::kZip) {
      if (way == Way::kByDirectory) archive_read_support_format_zip_seekable(reader);
      archive_read_support_format_zip_streamable(reader);
    } else {
      SupportCompression(reader, _packing);
      if (_contents == Contents::kEntries) archive_read_support_format_tar(reader);
      if (_packing != Packing::kTar) {
        archive_read_support_format_raw(reader);
        archive_read_support_format_empty(reader);
      }
    }
    PrepareNames(reader);
    archive_read_set_callback_data(reader, &_file);
    archive_read_set_read_callback(reader, ReadFile);
    archive_read_set_seek_callback(reader, SeekFile);
    archive_read_set_skip_callback(reader, SkipFile);
    _failed = archive_read_open1(reader) != ARCHIVE_OK;
  }

  // False at the end and where reading cannot go on.
  bool ReadHeader() {
    constexpr int kMostFailures = 1000;
    for (int failures = 0; !_failed && failures < kMostFailures; ++failures) {
      const int result = NextHeader(_reader.get(), &_entry);
      if (result == ARCHIVE_EOF) return false;
      if (result == ARCHIVE_FATAL) {
        if (_way == Way::kByDirectory && PassOver(Way::kByEntries)) continue;
        break;
      }
      ++_headers;
      if (result == ARCHIVE_OK || result == ARCHIVE_WARN) return IsUnpacked();
    }
    if (_status.ok()) _status = FailureOf(_reader.get(), _file);
    return false;
  }

  // A compressed file that ends early is taken by the library for one that is not compressed.
  bool IsUnpacked() {
    if (_packing == Packing::kZip || _packing == Packing::kTar ||
        archive_filter_code(_reader.get(), 0) != ARCHIVE_FILTER_NONE) {
      return true;
    }
    _status = {StatusCode::kCorrupt, "cut off"};
    return false;
  }

  // Begins again and goes to where reading was; what is behind the damage is read as well then.
  bool PassOver(Way way) {
    const Status why = FailureOf(_reader.get(), _file);
    const std::uint64_t passed = _headers;
    bool there = _packing == Packing::kZip && ++_damaged <= kMostDamaged;
    if (there) Begin(way == Way::kByDirectory ? _way : way);
    while (there && _headers < passed) {
      const int result = _failed ? ARCHIVE_FATAL : NextHeader(_reader.get(), &_entry);
      there = result != ARCHIVE_FATAL && result != ARCHIVE_EOF;
      ++_headers;
    }
    if (!there) _status = why;
    return there;
  }

  PackedFile _file;  // before what reads from it
  Packing _packing;
  Contents _contents;
  std::unique_ptr<archive, FreeReader> _reader;
  archive_entry* _entry = nullptr;  // the reader's
  Way _way = Way::kByDirectory;
  std::uint64_t _headers = 0;  // read so far
  std::uint64_t _unpacked = 0;
  int _damaged = 0;
  bool _failed = false;  // to open
  bool _begun = false;   // an entry is in hand
  EntryStream _stream;
  Status _status;
};

// The one file in a compressed one.
class DecompressedFile final : public platform::InputStream {
 public:
  explicit DecompressedFile(std::unique_ptr<ArchiveReader> reader) : _reader(std::move(reader)) {
    Entry entry;
    _empty = !_reader->Next(entry);
  }

  std::span<const char> Buffer() override {
    return _empty ? std::span<const char>() : _reader->Stream().Buffer();
  }
  // Of nothing nothing may be taken.
  void Skip(std::size_t count) override {
    if (!_empty) _reader->Stream().Skip(count);
  }
  std::uint64_t Position() const override { return _reader->Stream().Position(); }
  const Status& status() const override {
    return _empty ? _reader->status() : _reader->Stream().status();
  }

 private:
  std::unique_ptr<ArchiveReader> _reader;
  bool _empty = false;
};

}  // namespace

Result<std::unique_ptr<ArchiveReader>> OpenArchive(platform::FileSystem& files,
                                                   std::u16string_view path, Contents contents) {
  auto file = files.Open(path, platform::FileSystem::OpenMode::kRead);
  if (!file.ok()) return file.status();
  const auto size = (*file)->Size();
  if (!size.ok()) return size.status();
  std::array<char, kPackingBytes> beginning{};
  const auto count = (*file)->ReadAt(0, std::as_writable_bytes(std::span(beginning)));
  if (!count.ok()) return count.status();
  const Packing packing = PackingOf({beginning.data(), *count});
  if (packing == Packing::kNone)
    return Status(StatusCode::kInvalidArgument, "neither compressed nor an archive");
  if (!IsReadHere(packing)) {
    return Status(StatusCode::kUnsupported,
                  "cannot be read on this system: " + std::string(NameOf(packing)));
  }
  return std::unique_ptr<ArchiveReader>(
      std::make_unique<Reader>(PackedFile(std::move(*file), *size), packing, contents));
}

Result<std::unique_ptr<platform::InputStream>> OpenDecompressed(platform::FileSystem& files,
                                                                std::u16string_view path,
                                                                std::size_t bufferSize) {
  const auto packing = PackingOfFile(files, path);
  if (!packing.ok()) return packing.status();
  if (*packing == Packing::kNone || *packing == Packing::kZip || *packing == Packing::kTar)
    return platform::OpenInputStream(files, path, bufferSize);
  auto reader = OpenArchive(files, path, Contents::kOneFile);
  if (!reader.ok()) return reader.status();
  return std::unique_ptr<platform::InputStream>(
      std::make_unique<DecompressedFile>(std::move(*reader)));
}

}  // namespace parvane::archives
