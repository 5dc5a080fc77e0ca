// Keeps the hand-overs in the 64-bit registry view, under HKLM\Software\Brixmoor\VordaUpdate:
// the values Agents and Log (REG_MULTI_SZ), Written (REG_BINARY, a FILETIME as 8 bytes,
// little-endian) and Folder (REG_SZ) of the latest list, and the same of others in subkeys.
#pragma once

#include "update/hand_over.h"

namespace vorda {

// The current time as a FILETIME.
std::uint64_t fileTimeNow();

// How a folder is written in its list: absolute and resolved, without a trailing separator.
std::wstring installationFolder(const std::wstring& folder);

// The list of an installationFolder. Empty if there is none, or if Agents or Written is missing or
// malformed.
HandOver readHandOver(const std::wstring& folder);

// Replaces the list of its folder. False on failure, as without administrator rights.
bool writeHandOver(HandOver list);

void deleteHandOver(const std::wstring& folder);

// Adds this process to the list if a Windows Installer installation is running: the request to
// close then probably comes from it, and the restarting step will start this agent again.
void noteDuringInstallation();

} // namespace vorda
