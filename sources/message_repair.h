// Repair of damaged messages, in place, before they are taken for e-mail.
//
// Old mail holds address lists with odd quoting or spread over repeated header lines, dates in
// loose forms, inline images marked as attachments, and attached messages with the same faults.
// Nothing here reports a failure: what cannot be repaired stays as it is. Null is skipped.
#pragma once

namespace Tessary {
class TsMime;
class TsString;
}  // namespace Tessary

namespace QuelmarMIMEEngineCommon {

// All repairs: related parts and attached messages, then From, To, Cc, Bcc, Sender and Reply-To,
// then Date. Only top-level headers; messages inside are reached as attachments.
void AdjustMimeForTSMail(Tessary::TsMime* mime);

// Takes the Content-Disposition off the direct parts of a multipart/related, so that they are not
// taken for attachments, and repairs message/rfc822 attachments, throughout the tree.
void FixRelatedContentDisposition(Tessary::TsMime* mime);

// Rewrites every mailbox of the header's fields of that name into one field:
//
//   To: a@b                              To: "" < a@b >,"Jim" < c@d >
//   To: Jim <c@d>
//
// Every comma separates, also one inside quotes. Missing and empty headers are left alone.
void FixMailBox(const char* headerName, Tessary::TsMime* mime);

// Rewrites the Date header; see DateTimeUtilities::TryFixTimeStr.
void FixDate(Tessary::TsMime* mime);

// The loose date's tokens, each a NUL-terminated string (null counts as empty). The int arguments
// receive values only when the answer is true, except where stated.

// All digits; also the empty string.
bool IsNumber(const char* s);
// "Jan" to "Dec" in any case: 0 to 11.
bool IsMonth(const char* s, int* month);
// "sun" to "sat" in any case: 0 to 6. Only the three-letter forms.
bool IsWeekday(const char* s, int* weekday);
// Stores the leading digits' value in any case; true up to 31, without a lower bound.
bool IsMonthDay(const char* s, int* day);
// Four characters, or two: below 50 is 20xx, above is 19xx, 50 itself is none.
bool IsYear(const char* s, int* year);
// "hh:mm:ss" or "hh:mm", by the places of the colons; the values are not checked.
bool IsTime(const char* s, int* hour, int* minute, int* second);
// A letter, a sign with four digits, or one of fifty names, none of which counts when it has five
// characters.
bool IsTimeZone(const char* s);
// 0 is Sunday; month 1 to 12.
int GetDayOfWeek(int day, int month, int year);

namespace DateTimeUtilities {

// Rewrites a loose date as an RFC 822 date from what can be found in it, in any order: weekday, day
// of the month, month name, year, time, zone. A zone is put behind the time as it was written; a
// date without one is local time. Fields that are not there count as 0. False, with the text
// untouched, when that makes no date (no day of the month was found).
bool TryFixTimeStr(Tessary::TsString& dateText);

}  // namespace DateTimeUtilities

}  // namespace QuelmarMIMEEngineCommon
