// The scan targets of this machine, with facts about the machine and the program.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

struct DriveTarget {
  std::wstring path; // "X:\"
  std::wstring label;
  std::wstring fileSystem;
  std::string type; // "fixed", "network" or "removable"
  std::uint64_t totalBytes = 0;
  std::uint64_t freeBytes = 0;
  bool turbo = false;
  std::string turboReason; // empty if turbo is possible
};

struct WslTarget {
  std::wstring name;
  std::wstring path;
};

struct TargetList {
  std::vector<DriveTarget> drives;
  std::vector<WslTarget> wsl;
  std::wstring home;
  std::wstring machine;
  bool elevated = false;
  std::wstring version;
  std::wstring website;
  std::wstring logPath;
  std::wstring startPath; // what the program was started to scan, if it is to be told
};

// Queries drives, WSL distributions, home folder, machine name and elevation. Unknown values
// stay empty or zero. version and what follows it are left to the caller.
TargetList systemTargets();

// The list as JSON for the page.
std::string targetsDocument(const TargetList& list);

} // namespace vorda
