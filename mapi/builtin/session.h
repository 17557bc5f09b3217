// IMAPISession.
#pragma once

#include "mapi/builtin/profiles.h"
#include "mapi/session.h"

namespace parvane::mapi::builtin {

IMAPISession* NewSession(ProfilePtr profile);

}  // namespace parvane::mapi::builtin
