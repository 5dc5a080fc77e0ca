// The hand-over between the steps of an installation, in the registry:
// HKLM\Software\Brixmoor\VordaUpdate, in the view of 64-bit programs, with the values
// Agents and Log (REG_MULTI_SZ) and Written (REG_BINARY, the FILETIME in 8 bytes).
#pragma once

#include "update/hand_over.h"

namespace vorda {

// Now, as a FILETIME.
std::uint64_t fileTimeNow();

// Empty when there is none or when a value of it is missing or of another type.
HandOver readHandOver();

// False without the rights to write it.
bool writeHandOver(const HandOver& list);

void deleteHandOver();

// Adds this process to the list while the Windows Installer installs something: whoever
// asks an agent to close then may well be the installer, which has it started again.
void noteDuringInstallation();

} // namespace vorda
