#include "mime/facade/library_access.h"

#include <utility>

#include "mime/facade/cls_email.h"
#include "mime/facade/cls_mime.h"
#include "mime/facade/implementation.h"

namespace Tessary {

EmailMessage* MessageOf(const TsEmail& email) { return ImplementationOf(email).message(); }

MimeMessage2& EntityOf(const TsMime& mime) { return ImplementationOf(mime).entity(); }

bool SetFromEntity(TsEmail& email, std::shared_ptr<MimeMessage2> entity) {
  return ImplementationOf(email).SetFromEntity(std::move(entity));
}

}  // namespace Tessary
