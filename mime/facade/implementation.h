// From a facade object to the object behind it, for the facade itself.
#pragma once

#include "mime/facade/ts_byte_data.h"
#include "mime/facade/ts_email.h"
#include "mime/facade/ts_mime.h"
#include "mime/facade/ts_string.h"

namespace Tessary {

inline ClsByteData& ImplementationOf(const TsByteData& facade) { return *facade._implP; }
inline ClsEmail& ImplementationOf(const TsEmail& facade) { return *facade._implP; }
inline ClsMime& ImplementationOf(const TsMime& facade) { return *facade._implP; }
inline ClsString& ImplementationOf(const TsString& facade) { return *facade._implP; }

}  // namespace Tessary
