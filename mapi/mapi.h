// Extended MAPI in whole: declarations only. Where the system's MAPI headers are needed too, they
// come after this one: they define the same names as macros.
#pragma once

#include "mapi/constants.h"
#include "mapi/entry_points.h"
#include "mapi/identifiers.h"
#include "mapi/results.h"
#include "mapi/session.h"
#include "mapi/tags.h"
