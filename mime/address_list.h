// Address lists of a message's header (RFC 5322, 3.4 and 4.4), read so that no recipient and no
// address is ever lost.
//
// Understood: display names, quoted strings, comments (one behind a bare address is its name),
// groups (replaced by their members), routes, white space in odd places, semicolons between
// mailboxes, missing brackets and quotes, encoded words that hold commas. A word without "@" is a
// display name without an address. Lists that message repair rewrote are put together again (see
// RejoinMailBoxes; a group cut into pieces there gives its members).
#pragma once

#include <string_view>
#include <vector>

#include "mime/mailbox.h"

namespace Tessary {

using QuelmarMIMEEngineCommon::MailBox;

// The mailboxes of an unfolded list, in order, their names with encoded words decoded. Mailboxes
// with neither name nor address are left out.
std::vector<MailBox> ParseAddressList(std::u16string_view list);

// Takes the next piece off a long list: all of a list below some 128 KiB; of a longer one so much,
// cut where a mailbox with an address ends, if one does. Mailboxes and groups beyond any real size
// may be parted.
std::string_view TakePiece(std::string_view& list);

// Appends `"Name" <address>`: the name between quotes where it has to be; the address alone when
// there is no name; the name alone when there is no address.
void AppendMailBox(const MailBox& mailbox, std::u16string& out);

}  // namespace Tessary
