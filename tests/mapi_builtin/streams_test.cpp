// Property streams: short, spilled to the file, reread, changed in the middle.
#include "tests/mapi_builtin/session_fixture.h"

namespace parvane::mapi {
namespace {

constexpr ULONG kBlob = PropTag(PT_BINARY, 0x6300);
constexpr ULONG kWrite = MAPI_CREATE | MAPI_MODIFY;

LARGE_INTEGER Signed(LONGLONG value) {
  LARGE_INTEGER result;
  result.QuadPart = value;
  return result;
}
ULARGE_INTEGER Unsigned(ULONGLONG value) {
  ULARGE_INTEGER result;
  result.QuadPart = value;
  return result;
}

class Streams : public MessageTest {
 protected:
  ComPointer<IStream> Open(ULONG tag, ULONG flags, HRESULT expected = S_OK) {
    ComPointer<IStream> stream;
    EXPECT_EQ(message->OpenProperty(tag, &IID_IStream, 0, flags, stream.PutUnknown()), expected);
    return stream;
  }
  static void Write(IStream& stream, std::string_view bytes) {
    ULONG written = 0;
    ASSERT_EQ(stream.Write(bytes.data(), static_cast<ULONG>(bytes.size()), &written), S_OK);
    ASSERT_EQ(written, bytes.size());
  }
  static std::string Read(IStream& stream, ULONG count) {
    std::string bytes(count, '?');
    ULONG read = 0;
    EXPECT_EQ(stream.Read(bytes.data(), count, &read), S_OK);
    bytes.resize(read);
    return bytes;
  }
  static ULONGLONG SizeOf(IStream& stream) {
    STATSTG stat{};
    EXPECT_EQ(stream.Stat(&stat, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(stat.type, STGTY_STREAM);
    return stat.cbSize.QuadPart;
  }
};

// The same steps on every length, whether the value stays in memory or not; a string beside the
// stream says what must come out.
TEST_F(Streams, BehaveTheSameWhateverTheLength) {
  for (const std::size_t length : {0u, 1u, 100u, 32'768u, 32'769u, 70'000u, 1'000'000u}) {
    SCOPED_TRACE(length);
    std::string expected;
    for (std::size_t i = 0; i < length; ++i) expected += static_cast<char>('a' + i % 23);
    auto stream = Open(kBlob, kWrite);
    for (std::size_t at = 0; at < length; at += 9'999) {
      Write(*stream, std::string_view(expected).substr(at, 9'999));
    }
    EXPECT_EQ(SizeOf(*stream), length);
    // Back to the start: what was written can be read.
    ASSERT_EQ(stream->Seek(Signed(0), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(Read(*stream, 50), expected.substr(0, 50));
    // In the middle, and beyond the end.
    const std::size_t middle = length / 2;
    ASSERT_EQ(stream->Seek(Signed(static_cast<LONGLONG>(middle)), STREAM_SEEK_SET, nullptr), S_OK);
    Write(*stream, "MIDDLE");
    expected.resize(std::max(expected.size(), middle + 6));
    expected.replace(middle, 6, "MIDDLE");
    ULARGE_INTEGER at{};
    ASSERT_EQ(stream->Seek(Signed(10), STREAM_SEEK_END, &at), S_OK);
    EXPECT_EQ(at.QuadPart, expected.size() + 10);
    Write(*stream, "gap");
    expected += std::string(10, '\0') + "gap";
    EXPECT_EQ(SizeOf(*stream), expected.size());
    ASSERT_EQ(stream->Commit(0), S_OK);
    // A commit is not the end of writing.
    Write(*stream, "more");
    expected += "more";
    if (length > 200) {
      ASSERT_EQ(stream->SetSize(Unsigned(length - 100)), S_OK);
      expected.resize(length - 100);
    }
    stream.Reset();  // keeps what was not committed
    EXPECT_EQ(ReadStream(*message, kBlob), expected);
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK) << LastFailure().text;
    EXPECT_EQ(ReadStream(*message, kBlob), expected);
    EXPECT_EQ(Get(*message, kBlob).bytes(), expected);

    // What is in the file can be changed too.
    stream = Open(kBlob, MAPI_MODIFY | STREAM_APPEND);
    Write(*stream, "tail");
    stream.Reset();
    EXPECT_EQ(ReadStream(*message, kBlob), expected + "tail");
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(ReadStream(*message, kBlob), expected + "tail");
  }
}

TEST_F(Streams, DropOneTerminatorOfText) {
  const std::u16string longText(50'000, u'x');
  const char16_t zero[] = {0};
  struct Case {
    const char* name;
    ULONG tag;
    std::string written;
    std::u16string text;
  } const cases[] = {
      {"none", PR_BODY_W, BytesOf(u"abc"), u"abc"},
      {"one", PR_BODY_W, BytesOf(u"abc") + BytesOf({zero, 1}), u"abc"},
      {"two", PR_BODY_W, BytesOf(u"abc") + std::string(4, '\0'), std::u16string(u"abc\0", 4)},
      {"long", PR_BODY_W, BytesOf(longText) + std::string(2, '\0'), longText},
      {"half a character", PR_BODY_W, std::string("a\0b", 3), u"a"},
      {"half a character, zero", PR_BODY_W, std::string("a\0\0", 3), u"a"},
      {"ANSI", PR_BODY_A, "\xC3\xA9", u"é"},
      {"ANSI, terminated", PR_BODY_A, std::string("abc\0", 4), u"abc"},
      {"ANSI, long", PR_BODY_A, std::string(50'000, 'x') + '\0', longText},
  };
  for (const Case& c : cases) {
    SCOPED_TRACE(c.name);
    ASSERT_EQ(WriteStream(*message, c.tag, c.written), S_OK);
    ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
    EXPECT_EQ(ReadStream(*message, PR_BODY_W), BytesOf(c.text));
  }
  EXPECT_EQ(ReadStream(*message, PR_BODY_A), std::string(50'000, 'x'));
  ASSERT_EQ(WriteStream(*message, PR_BODY_HTML_A, std::string("<p>\0", 4)), S_OK);
  EXPECT_EQ(ReadStream(*message, PR_HTML), "<p>");
  ASSERT_EQ(WriteStream(*message, PR_HTML, std::string("<p>\0", 4)), S_OK);
  EXPECT_EQ(ReadStream(*message, PR_HTML), std::string("<p>\0", 4));
  ASSERT_EQ(WriteStream(*message, PR_BODY_HTML_W, BytesOf(longText + u"x")), S_OK);
  EXPECT_EQ(ReadStream(*message, PR_HTML), std::string(50'001, 'x'));
}

TEST_F(Streams, AreOpenedByTheRules) {
  ASSERT_EQ(Set(*message, LongValue(PR_IMPORTANCE, 1)), S_OK);
  ASSERT_EQ(WriteStream(*message, PR_BODY_W, BytesOf(u"b")), S_OK);
  ASSERT_EQ(message->SaveChanges(KEEP_OPEN_READWRITE), S_OK);
  const auto readOnly = MessagesOf(*top).at(0);
  struct Case {
    const char* name;
    IMessage* object;
    ULONG tag;
    const IID* iid;
    ULONG flags;
    HRESULT expected;
  } const cases[] = {
      {"no interface", message.get(), PR_BODY_W, nullptr, 0, MAPI_E_INVALID_PARAMETER},
      {"no type", message.get(), ChangePropType(PR_BODY_W, 0), &IID_IStream, 0,
       MAPI_E_INVALID_PARAMETER},
      {"absent", message.get(), kBlob, &IID_IStream, 0, MAPI_E_NOT_FOUND},
      {"absent, to modify", message.get(), kBlob, &IID_IStream, MAPI_MODIFY, MAPI_E_NOT_FOUND},
      {"a number", message.get(), PR_IMPORTANCE, &IID_IStream, 0, MAPI_E_NO_SUPPORT},
      {"of another type", message.get(), ChangePropType(PR_BODY_W, PT_BINARY), &IID_IStream, 0,
       MAPI_E_NOT_FOUND},
      {"strange interface", message.get(), PR_BODY_W, &IID_IProfSect, 0,
       MAPI_E_INTERFACE_NOT_SUPPORTED},
      {"message of no attachment", message.get(), PR_BODY_W, &IID_IMessage, 0, MAPI_E_NO_SUPPORT},
      {"computed", message.get(), PR_DISPLAY_TO_W, &IID_IStream, kWrite, MAPI_E_NO_ACCESS},
      {"read only", readOnly.get(), PR_BODY_W, &IID_IStream, kWrite, MAPI_E_NO_ACCESS},
      {"table", message.get(), PR_MESSAGE_RECIPIENTS, &IID_IMAPITable, 0, S_OK},
      {"fine", readOnly.get(), PR_BODY_W, &IID_IStream, 0, S_OK},
  };
  for (const Case& c : cases) {
    auto* out = reinterpret_cast<IUnknown*>(1);
    EXPECT_EQ(c.object->OpenProperty(c.tag, c.iid, 0, c.flags, &out), c.expected) << c.name;
    EXPECT_EQ(out != nullptr, c.expected == S_OK) << c.name;
    if (out != nullptr) out->Release();
  }
}

TEST_F(Streams, RefuseWhatStreamsRefuse) {
  ASSERT_EQ(WriteStream(*message, kBlob, "0123456789"), S_OK);
  const auto stream = Open(kBlob, 0);
  char buffer[4];
  ULONG count = 7;
  EXPECT_EQ(stream->Write("x", 1, &count), STG_E_ACCESSDENIED);
  EXPECT_EQ(count, 0u);
  EXPECT_EQ(stream->SetSize(Unsigned(1)), STG_E_ACCESSDENIED);
  EXPECT_EQ(stream->Read(nullptr, 1, &count), STG_E_INVALIDPOINTER);
  EXPECT_EQ(stream->Seek(Signed(-1), STREAM_SEEK_SET, nullptr), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->Seek(Signed(-11), STREAM_SEEK_END, nullptr), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->Seek(Signed(0), 3, nullptr), STG_E_INVALIDFUNCTION);
  EXPECT_EQ(stream->LockRegion(Unsigned(0), Unsigned(1), 0), STG_E_INVALIDFUNCTION);
  ASSERT_EQ(stream->Seek(Signed(-2), STREAM_SEEK_END, nullptr), S_OK);
  EXPECT_EQ(stream->Read(buffer, 4, &count), S_OK);
  EXPECT_EQ(count, 2u);
  EXPECT_EQ(stream->Read(buffer, 4, nullptr), S_OK);
  const auto writable = Open(kBlob, kWrite);
  EXPECT_EQ(writable->Seek(Signed(1LL << 40), STREAM_SEEK_SET, nullptr), S_OK);
  EXPECT_EQ(writable->Write("x", 1, nullptr), STG_E_MEDIUMFULL);
  EXPECT_EQ(writable->SetSize(Unsigned(1ULL << 40)), STG_E_MEDIUMFULL);
}

TEST_F(Streams, KeepNothingOfAValueThatIsTooLong) {
  const std::string block(1 << 20, 'x');
  {
    const auto stream = Open(kBlob, kWrite);
    Write(*stream, block);
    ASSERT_EQ(stream->Seek(Signed((1LL << 31) - 2), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Write(block.data(), 2, nullptr), STG_E_MEDIUMFULL);
    EXPECT_EQ(Diagnostics().failures, 1u);
    EXPECT_NE(Diagnostics().lastFailure.text.find("2 GiB"), std::string::npos);
    EXPECT_EQ(stream->Seek(Signed(0), STREAM_SEEK_SET, nullptr), S_OK);
    EXPECT_EQ(stream->Write("y", 1, nullptr), STG_E_MEDIUMFULL) << "its beginning is no value";
    EXPECT_EQ(stream->Commit(0), STG_E_MEDIUMFULL);
  }
  EXPECT_EQ(Get(*message, kBlob).error(), MAPI_E_NOT_FOUND);
  EXPECT_FALSE(Diagnostics().latched);
  EXPECT_EQ(message->SaveChanges(FORCE_SAVE), S_OK);
}

TEST_F(Streams, CopyFromOneToTheOther) {
  const std::string data(300'000, 'c');
  ASSERT_EQ(WriteStream(*message, kBlob, data), S_OK);
  const auto from = Open(kBlob, 0);
  const auto to = Open(kBlob + 0x10000, kWrite);
  ULARGE_INTEGER read{};
  ULARGE_INTEGER written{};
  ASSERT_EQ(from->CopyTo(to.get(), Unsigned(250'000), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 250'000u);
  EXPECT_EQ(written.QuadPart, 250'000u);
  ASSERT_EQ(from->CopyTo(to.get(), Unsigned(~0ULL), &read, &written), S_OK);
  EXPECT_EQ(read.QuadPart, 50'000u);
  ASSERT_EQ(to->Commit(0), S_OK);
  EXPECT_EQ(ReadStream(*message, kBlob + 0x10000), data);
}

}  // namespace
}  // namespace parvane::mapi
