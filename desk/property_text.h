// All properties of an object of MAPI as text, for people who look into it.
#pragma once

#include <string>
#include <vector>

#include "desk/viewed_message.h"
#include "mapi/property_object.h"

namespace parvane::desk {

// In the order of their tags; some thousands at most. False when the list cannot be had.
bool ListProperties(mapi::IMAPIProp& object, std::vector<ViewedProperty>& properties);

}  // namespace parvane::desk
