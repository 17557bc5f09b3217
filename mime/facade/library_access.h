// From facade objects to the library's values behind them, for the rooms above: where they read a
// message as it is, instead of through copies into facade objects.
//
// These take no lock and keep no log: nobody else may use the facade object meanwhile.
#pragma once

#include <memory>

namespace Tessary {

class EmailMessage;
class MimeMessage2;
class TsEmail;
class TsMime;

// Null when nothing has been parsed; valid until another message is set.
EmailMessage* MessageOf(const TsEmail& email);
MimeMessage2& EntityOf(const TsMime& mime);

// What SetFromMimeText makes of the entity's text. The entity is not parsed anew where that can be
// avoided, and must not change any more.
bool SetFromEntity(TsEmail& email, std::shared_ptr<MimeMessage2> entity);

}  // namespace Tessary
