// The words by which scans are published: in the answers to the page, in the result document
// and on the command line. The program spells each here and in words.cpp only; tests spell some
// of them on purpose.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// How a scan reads.
enum class ScanMethod { none, walk, turbo, ssh };
std::string_view wordOf(ScanMethod method); // empty for none

// The step a scan is at.
enum class ScanStatus {
  none,
  walk,     // turbo is not possible, the walk starts
  turbo,    // turbo starts
  fallback, // turbo failed, the walk starts
  reading,  // the walk reads
  merging,  // the workers of the walk have finished
  mftOpen,
  mftFind,
  mftRead,
  tree, // turbo builds the folders
  sshConnect,
  sshList,
  summing, // the totals of the size tree
};
std::string_view wordOf(ScanStatus status); // empty for none

// What a scan target is, judged from its text.
enum class TargetClass { ssh, wsl, unc, drive, folder };
std::string_view wordOf(TargetClass target);

// The kind of a job is published as it was asked for; these two have a meaning.
inline constexpr std::string_view kSshKind = "ssh";
inline constexpr std::string_view kDefaultKind = "map";

// Why turbo is not tried on a target.
inline constexpr std::string_view kNotLocal = "notlocal";
inline constexpr std::string_view kNotWholeDrive = "notwholedrive";
inline constexpr std::string_view kNotFixed = "notfixed";
inline constexpr std::string_view kNoFileSystem = "nofs";
inline constexpr std::string_view kNotNtfs = "notntfs";
inline constexpr std::string_view kNoAdmin = "noadmin";

// Somebody stopped it: a scan, a search, the reading of a file.
inline constexpr std::string_view kCancelled = "cancelled";

// Why a result is only a part of its target.
enum class Partial {
  none,
  cancelled, // somebody stopped the scan
  broken,    // the connection to the host broke
};
std::string_view wordOf(Partial partial); // empty for none

// Why a scan failed. Any method:
inline constexpr std::string_view kScanFailed = "scanFailed"; // no other word is known
inline constexpr std::string_view kNoSuchDir = "noSuchDir";   // no folder, or not to be seen
inline constexpr std::string_view kNoMemory = "noMemory"; // also of requests, searches, deletions

// Turbo. The walk takes over, and these are published as the reason why turbo was not used.
inline constexpr std::string_view kMftDenied = "mftDenied";           // volume: access denied
inline constexpr std::string_view kMftOpenFailed = "mftOpenFailed";   // volume: any other error
inline constexpr std::string_view kMftBoot = "mftBoot";               // boot sector unreadable
inline constexpr std::string_view kMftNotNtfs = "mftNotNtfs";         // boot sector of another one
inline constexpr std::string_view kMftLayout = "mftLayout";           // boot sector out of range
inline constexpr std::string_view kMftUnreadable = "mftUnreadable";   // part of the table
inline constexpr std::string_view kMftCorrupt = "mftCorrupt";         // damaged records
inline constexpr std::string_view kMftNoData = "mftNoData";           // no table, or an empty one
inline constexpr std::string_view kMftRecordCount = "mftRecordCount"; // 0, or too many records
inline constexpr std::string_view kMftMemory = "mftMemory";           // out of memory

// Ssh.
inline constexpr std::string_view kSshTarget = "sshTarget";     // the target's text is refused
inline constexpr std::string_view kSshPipe = "sshPipe";         // no pipe to the process
inline constexpr std::string_view kSshMissing = "sshMissing";   // ssh.exe did not start
inline constexpr std::string_view kSshDenied = "sshDenied";     // the host refused the sign-in
inline constexpr std::string_view kSshFailed = "sshFailed";     // followed by ":" and the exit code
inline constexpr std::string_view kSshEmpty = "sshEmpty";       // signed in, nothing was listed
inline constexpr std::string_view kSshTooLarge = "sshTooLarge"; // more than a scan holds

// The sentence for a failure word, as the command line prints it; a word without a sentence
// stands for itself.
std::string failureText(std::string_view word);

} // namespace vorda
