// IAddrBook: there is no directory behind it; it makes one-off entry identifiers.
#pragma once

#include "mapi/address_book.h"

namespace parvane::mapi::builtin {

// `session` is kept alive.
IAddrBook* NewAddressBook(IUnknown* session);

}  // namespace parvane::mapi::builtin
