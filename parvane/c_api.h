// Parvane for C, and for whatever calls C: conversions, and PSTs looked into.
//
// Texts are UTF-8 and end with a zero; paths are as the system has them (UTF-8 on Windows). What is
// returned belongs to the object that it was asked of, and holds until that is freed or asked the
// same again. An object is used by one thread at a time; one conversion or open PST at a time in a
// process. Nothing throws. Where memory runs out, functions that make something yield NULL.
#pragma once

#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

const char* parvane_version(void);

// ---- Conversions

// How mail is converted: the options of `parvane convert`, by their names without the dashes.
typedef struct parvane_options parvane_options;
parvane_options* parvane_options_new(void);
void parvane_options_free(parvane_options* options);
// Words as on the command line; for an option without a value, NULL sets it. `folder` and `exclude`
// may be given more than once. 0, or -1 when there is no such option; a word that means nothing is
// told by the conversion.
int parvane_options_set(parvane_options* options, const char* name, const char* value);

// Hears of a run while it goes on, on the thread that runs it. Each function may be NULL.
typedef struct parvane_observer {
  void* context;  // the first argument of each
  // After every message. Bytes; a total of 0 is not known yet.
  void (*progress)(void* context, const char* folder, uint64_t done, uint64_t total,
                   uint64_t messages);
  // Something to know before the work, which goes on.
  void (*notice)(void* context, const char* text);
  // Asked after every message; not 0 ends the run, which tells so.
  int (*cancelled)(void* context);
} parvane_observer;

// What has become of the mail.
typedef struct parvane_account parvane_account;
// `options` and `observer` may be NULL.
parvane_account* parvane_convert(const char* const* sources, size_t count, const char* destination,
                                 const parvane_options* options, const parvane_observer* observer);
// What a conversion would do, from reading alone. `destination` may be NULL.
parvane_account* parvane_scan(const char* const* sources, size_t count, const char* destination,
                              const parvane_options* options, const parvane_observer* observer);
void parvane_account_free(parvane_account* account);

// As the program's exit status: 0 done, 1 finished but mail was left behind, 2 options that mean
// nothing, 3 could not finish, 130 cancelled.
int parvane_account_outcome(const parvane_account* account);
// Why it could not finish; empty when it could.
const char* parvane_account_error(const parvane_account* account);
uint64_t parvane_account_read(const parvane_account* account);
uint64_t parvane_account_written(const parvane_account* account);
uint64_t parvane_account_failed(const parvane_account* account);
// For people.
const char* parvane_account_summary(parvane_account* account);
// For programs: the JSON report, whose fields docs/manual.md tells.
const char* parvane_account_report(parvane_account* account);

// ---- PSTs looked into; nothing is changed in them

typedef struct parvane_pst parvane_pst;
// When it cannot be opened, parvane_pst_error() says why.
parvane_pst* parvane_pst_open(const char* path);
void parvane_pst_close(parvane_pst* pst);
// Why the last call failed; NULL: it did not.
const char* parvane_pst_error(const parvane_pst* pst);

typedef struct parvane_folder {
  const char* id;      // holds as long as nothing is written into the PST, as all ids
  const char* parent;  // id; empty: it lies on top
  const char* name;
  uint64_t messages;
  uint64_t unread;
} parvane_folder;
size_t parvane_pst_folder_count(const parvane_pst* pst);
// Each behind the one it lies in. 0, or -1: there is none of this number.
int parvane_pst_folder(parvane_pst* pst, size_t number, parvane_folder* folder);

// Moments are seconds since 1970 (UTC); 0: not known.
typedef struct parvane_message {
  const char* id;  // empty: this one cannot be read, and the rest says nothing
  const char* subject;
  const char* from;  // "Name <address>", as far as there are both
  const char* to;    // such, with "; " between them
  const char* cc;    // here and below: not of a list
  const char* bcc;
  const char* headers;
  int64_t time;  // submitted, else delivered
  int64_t delivered;
  uint64_t bytes;
  size_t attachments;
  int unread, flagged, replied, forwarded;
} parvane_message;
// Gives `take` at most `count` messages of a folder from number `from`, until it answers with not
// 0. 0, or -1: the folder cannot be read.
int parvane_pst_messages(parvane_pst* pst, const char* folder, uint64_t from, size_t count,
                         int (*take)(void* context, const parvane_message* message), void* context);
// All of one message. 0, or -1.
int parvane_pst_message(parvane_pst* pst, const char* id, parvane_message* message);
// Its text as a page of HTML that nothing dangerous is left in, which finds the pictures in it
// under "attachment-N"; NULL: it cannot be read.
const char* parvane_pst_page(parvane_pst* pst, const char* id);

typedef struct parvane_attachment {
  const char* name;
  const char* type;     // "image/png"; empty: not known
  const char* message;  // id of an attached message; empty: a file
  const char* link;     // what the message's page calls it
  uint64_t bytes;
} parvane_attachment;
// Of the message asked for last. 0, or -1: there is none of this number.
int parvane_pst_attachment(parvane_pst* pst, size_t number, parvane_attachment* attachment);
// The bytes of a file attached to the message asked for last, piece by piece, until `take` answers
// with not 0. 0, or -1.
int parvane_pst_read_attachment(parvane_pst* pst, size_t number,
                                int (*take)(void* context, const void* bytes, size_t count),
                                void* context);

#ifdef __cplusplus
}  // extern "C"
#endif
