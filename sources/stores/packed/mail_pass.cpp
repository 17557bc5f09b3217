#include "sources/stores/packed/mail_pass.h"

#include "mime/mime_header.h"
#include "sources/stores/packed/packed_mail_store.h"

namespace parvane::sources {

PackedMailFolder* MailPass::Next() {
  while (_copy >= _folders.size()) {
    _folders.clear();
    _copy = 0;
    _message.clear();
    if (!_series.Next(_message)) return nullptr;
    _units = _series.PackedBytes();
    _doubts = _series.Doubts();
    if (_store.Labels() == engine::LabelUse::kOff) {
      if (_mailbox != _series.Mailbox()) {
        _mailbox = _series.Mailbox();
        _ofMailbox = _store.FoldersOfMailbox(_mailbox, _series.Mailboxes().Path());
      }
      _folders = _ofMailbox;
      continue;
    }
    Tessary::MimeHeader header;
    header.Load(_message.view());
    const bool copy = _store.HasSeveralMailboxes() &&
                      _joined.IsCopy(header, _series.Separator(), _series.Mailbox());
    if (copy) _store.TellOfCopy(header);
    if (!copy) _folders = _store.FoldersOf(LabelFields(header, _series.Mailboxes().Name()));
  }
  return _folders[_copy];
}

void MailPass::Take(MessageBuffer& message) {
  if (++_copy >= _folders.size()) {
    std::swap(message, _message);
  } else if (_message.lost() > 0) {
    message.Lose(_message.lost());
  } else {
    message.Append(_message.view());
  }
}

}  // namespace parvane::sources
