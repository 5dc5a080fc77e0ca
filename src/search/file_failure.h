// Why the contents of a file are not known.
#pragma once

#include <string_view>

namespace vorda {

enum class FileFailure {
  none,
  missing,
  cloud,      // reading would first download the contents
  link,       // a reparse point
  unreadable, // locked, access denied, not a file, or a read error
  changed,    // not in the expected state, or modified during reading
  cancelled,  // not read before the run was cancelled
};

// The word for a failure in documents; empty for none.
std::string_view wordOf(FileFailure failure);

} // namespace vorda
