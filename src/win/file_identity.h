// Which file an open handle stands for.
#pragma once

#include "base/file_identity.h"

#include <windows.h>

#include <optional>

namespace vorda {

// Nothing when the file system does not tell, or has no such numbers.
std::optional<FileIdentity> fileIdentity(HANDLE file);

} // namespace vorda
