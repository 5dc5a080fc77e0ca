// Why a path may not be deleted.
#pragma once

#include <string_view>

namespace vorda {

enum class Refusal {
  none, // the path may be deleted

  // By its spelling.
  tooShort,
  dotDot, // contains ".."
  wildcard,
  driveRoot,
  notAbsolute,
  wholeShare,

  // A protected place, or a folder that contains one.
  windows,
  programs,
  restore,
  recycleBin,
  boot,
  recovery,
  programData,
  allUsers,
  pageFile,
  hibernationFile,
  bootManager,
  profile, // the home folder of a user

  // By what the system reports about it.
  outside,   // not below the scanned root
  ambiguous, // the system reads the path differently, as a device's name, or it changed meanwhile
  missing,
  tooLong, // for the recycle bin; it may be deleted permanently
  changed, // not what the client saw, or no longer equal to a copy that stays
};

// The word for a refusal in answers and documents; empty for none.
std::string_view wordOf(Refusal refusal);

} // namespace vorda
