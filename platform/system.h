// What else the engine asks of the operating system.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <string>

namespace parvane::platform {

// The user's local application-data folder: the known folder (CSIDL 28) on Windows,
// $XDG_DATA_HOME, else $HOME/.local/share elsewhere. None when the user has no home.
std::optional<std::u16string> LocalApplicationDataFolder();

// Where a user keeps things, as the system has it set up: known folders on Windows, $HOME and the
// user's "user-dirs.dirs" (XDG) elsewhere. kSettings: programs' (%APPDATA%; $XDG_CONFIG_HOME, else
// $HOME/.config). None when the system does not tell; one that it tells need not be there.
enum class UserFolder { kHome, kDocuments, kDownloads, kDesktop, kSettings };
std::optional<std::u16string> FolderOfUser(UserFolder folder);

// Random bytes from the system's generator, for record and search keys.
void FillRandom(std::span<std::byte> bytes);

// The user's temporary folder.
std::u16string TemporaryFolder();

// This process's peak resident memory in bytes, 0 when the system does not tell.
std::uint64_t PeakResidentBytes();

// A number that tells this process from others running now.
std::uint32_t ProcessIdentifier();

// Shows the system's folder chooser; empty when the user cancels or there is none (off Windows).
std::u16string BrowseForFolder(const std::u16string& label, bool canCreateNew, void* parentWindow);

}  // namespace parvane::platform
