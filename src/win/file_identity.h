// The identity of an open file.
#pragma once

#include "base/file_identity.h"

#include <windows.h>

#include <optional>

namespace vorda {

// Nothing if the file system has no file IDs or does not report them.
std::optional<FileIdentity> fileIdentity(HANDLE file);

} // namespace vorda
