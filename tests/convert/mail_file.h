// A personal folder file into which tests convert messages, and out of which they read them again
// after it has been closed.
#pragma once

#include <functional>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "convert/conversion_report.h"
#include "convert/mime_to_mapi_message_converter.h"
#include "mapi/builtin_entry_points.h"
#include "mapi/diagnostics.h"
#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_email.h"
#include "pst/pst_service.h"
#include "tests/support/mapi_reading.h"
#include "tests/support/temporary_folder.h"

class MailFile : public testing::Test {
 protected:
  using Converter = QuelmarMIMEEngineCommon::MIMEToMAPIMessageConverter;
  // Leaves a parsed e-mail in a new message.
  using Writer = std::function<void(Converter&, Tessary::TsEmail&, parvane::mapi::IMessage&)>;

  void SetUp() override {
    parvane::mapi::SelectEntryPoints(parvane::mapi::BuiltinEntryPoints());
    ASSERT_EQ(parvane::mapi::MAPIInitialize(nullptr), 0);
  }
  void TearDown() override {
    Close();
    parvane::mapi::MAPIUninitialize();
    EXPECT_EQ(parvane::mapi::LiveObjects(), 0u) << "every reference is released";
    EXPECT_EQ(parvane::mapi::LiveBuffers(), 0u) << "every buffer is freed";
  }

  // Adds the messages, in order, to the top folder of the test's file, and opens it.
  void Convert(const std::vector<std::string>& texts, Writer write = WriteMail) {
    Close();
    Open();
    for (const std::string& text : texts) {
      Tessary::TsEmail email;
      email.put_Utf8(true);
      Tessary::TsByteData bytes;
      bytes.append2(text.data(), text.size());
      ASSERT_TRUE(email.SetFromMimeBytes(bytes));
      parvane::mapi::ComPointer<parvane::mapi::IMessage> message;
      _folder->CreateMessage(nullptr, 0, message.Put());
      ASSERT_TRUE(message);
      {
        Converter converter(_session.get());
        converter.SetReport(&report);
        write(converter, email, *message);
      }
      EXPECT_EQ(message->SaveChanges(parvane::mapi::FORCE_SAVE) == 0, saves);
    }
    Close();
    Open();
  }

  static void WriteMail(Converter& converter, Tessary::TsEmail& email,
                        parvane::mapi::IMessage& message) {
    EXPECT_EQ(converter.WriteMail(&email, &message, true), 0);
  }

  // The nth message of the file.
  parvane::mapi::ComPointer<parvane::mapi::IMessage> Message(std::size_t index = 0) {
    using namespace parvane::mapi;
    ComPointer<IMAPITable> table;
    _folder->GetContentsTable(MAPI_UNICODE, table.Put());
    const auto rows = mapi_reading::Rows(*table, {PR_ENTRYID});
    ComPointer<IMessage> message;
    std::string id = rows.at(index).at(0);
    ULONG type = 0;
    _folder->OpenEntry(static_cast<ULONG>(id.size()), reinterpret_cast<ENTRYID*>(id.data()),
                       nullptr, 0, &type, message.PutUnknown());
    return message;
  }

  parvane::convert::ConversionReport report;
  bool saves = true;  // whether MAPI takes the messages

 private:
  void Open() {
    using namespace QuelmarMIMEEngineCommon;
    _session = _session.Attach(CreatePST(_disk.Path("out.pst"), kTemporaryProfileName));
    ASSERT_TRUE(_session);
    _store = _store.Attach(OpenDefaultMsgStore(_session.get()));
    _folder = _folder.Attach(GetRootFolder(_store.get(), parvane::mapi::MAPI_BEST_ACCESS));
    ASSERT_TRUE(_folder);
  }

  void Close() {
    _folder.Reset();
    _store.Reset();
    if (_session) _session->Logoff(0, 0, 0);
    _session.Reset();
    QuelmarMIMEEngineCommon::CleanupTempProfiles(QuelmarMIMEEngineCommon::kTemporaryProfileName);
  }

  const TemporaryFolder _disk;
  parvane::mapi::ComPointer<parvane::mapi::IMAPISession> _session;
  parvane::mapi::ComPointer<parvane::mapi::IMsgStore> _store;
  parvane::mapi::ComPointer<parvane::mapi::IMAPIFolder> _folder;
};
