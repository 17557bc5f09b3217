// Brings a PST file into reach of Extended MAPI without touching any profile of the user's.
//
// A temporary profile holds a single personal-folders service pointed at the file; a session logs
// on to it and opens its message store. MAPI must have been started, on the same thread. Only null
// pointers are noticed: MAPI's results are discarded, once an observer has been told.
//
// The calls, in order: CreatePST, OpenDefaultMsgStore, GetRootFolder, the copying; then release
// the store, IMAPISession::Logoff, release the session, CleanupTempProfiles.
#pragma once

#include <string>

#include "engine/destination_observer.h"
#include "mapi/session.h"

namespace QuelmarMIMEEngineCommon {

inline namespace PSTService {

// The one temporary profile: only one PST destination can be open in a process.
inline constexpr const char* kTemporaryProfileName = "com.quelmar.temppstprofile";
// Longer paths are refused.
inline constexpr std::size_t kPathLimit = 2012;

// Creates the temporary profile with a service on `pstPath` (whose file is created when there is
// none) and logs on. The caller owns the session. Null when there is no profile administration,
// when the path has kPathLimit characters or more, or when the log-on fails.
parvane::mapi::IMAPISession* CreatePST(const std::u16string& pstPath,
                                       const std::string& profileName,
                                       parvane::engine::DestinationObserver* observer = nullptr);

// The session's first personal-folders store, opened for writing; the caller owns it. Null when
// there is none.
parvane::mapi::IMsgStore* OpenDefaultMsgStore(
    parvane::mapi::IMAPISession* session, parvane::engine::DestinationObserver* observer = nullptr);

// The store's top folder of personal folders; the caller owns it.
parvane::mapi::IMAPIFolder* GetRootFolder(parvane::mapi::IMsgStore* store,
                                          parvane::mapi::ULONG openFlags,
                                          parvane::engine::DestinationObserver* observer = nullptr);

// Deletes exactly the profile of this name.
void CleanupTempProfiles(const std::string& profileName);

}  // namespace PSTService

}  // namespace QuelmarMIMEEngineCommon
