// Keeps the hand-over in the 64-bit registry view, under HKLM\Software\Brixmoor\VordaUpdate:
// the values Agents and Log (REG_MULTI_SZ) and Written (REG_BINARY, a FILETIME as 8 bytes,
// little-endian).
#pragma once

#include "update/hand_over.h"

namespace vorda {

// The current time as a FILETIME.
std::uint64_t fileTimeNow();

// Empty if there is none, or if Agents or Written is missing or malformed.
HandOver readHandOver();

// False on failure, as without administrator rights.
bool writeHandOver(const HandOver& list);

void deleteHandOver();

// Adds this process to the list if a Windows Installer installation is running: the request to
// close then probably comes from it, and the restarting step will start this agent again.
void noteDuringInstallation();

} // namespace vorda
