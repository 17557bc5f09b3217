// Extended MAPI in whole: declarations only.
#pragma once

#include "mapi/constants.h"
#include "mapi/entry_points.h"
#include "mapi/identifiers.h"
#include "mapi/results.h"
#include "mapi/session.h"
#include "mapi/tags.h"
