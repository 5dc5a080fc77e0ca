#include "scan/target_list.h"

#include "scan/targets.h"
#include "win/elevation.h"
#include "win/registry_key.h"

#include <windows.h>

namespace vorda {

namespace {

constexpr const wchar_t* kDistributions = L"Software\\Microsoft\\Windows\\CurrentVersion\\Lxss";

const char* typeWord(UINT driveType) {
  switch (driveType) {
  case DRIVE_FIXED: return "fixed";
  case DRIVE_REMOTE: return "network";
  default: return "removable";
  }
}

DriveTarget driveAt(const std::wstring& root, UINT driveType) {
  DriveTarget drive;
  drive.path = root.substr(0, 2) + L"\\";
  drive.type = typeWord(driveType);
  wchar_t fileSystem[32] = {};
  if (GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr, nullptr, fileSystem, 32) !=
      FALSE) {
    drive.fileSystem = fileSystem;
  }
  const DriveFigures figures = driveFigures(drive.path);
  drive.label = figures.label;
  drive.totalBytes = figures.totalBytes;
  drive.freeBytes = figures.freeBytes;
  const TurboVerdict verdict = turboAllowed(drive.path);
  drive.turbo = verdict.allowed;
  drive.turboReason = verdict.reason;
  return drive;
}

std::vector<DriveTarget> drives() {
  std::vector<DriveTarget> list;
  wchar_t roots[512] = {}; // NUL-terminated strings, then an empty one
  GetLogicalDriveStringsW(511, roots);
  for (const wchar_t* at = roots; *at != L'\0';) {
    const std::wstring root = at;
    const UINT driveType = GetDriveTypeW(root.c_str());
    if (driveType == DRIVE_REMOVABLE || driveType == DRIVE_FIXED || driveType == DRIVE_REMOTE) {
      list.push_back(driveAt(root, driveType));
    }
    at += root.size() + 1;
  }
  return list;
}

std::vector<WslTarget> distributions() {
  std::vector<WslTarget> list;
  const RegistryKey all = RegistryKey::open(HKEY_CURRENT_USER, kDistributions, KEY_READ);
  DWORD index = 0;
  while (const std::optional<std::wstring> id = all.subkey(index++)) {
    const RegistryKey key = RegistryKey::open(all.get(), *id, KEY_READ);
    const std::optional<std::wstring> name = key.text(L"DistributionName");
    if (name) list.push_back({*name, L"\\\\wsl.localhost\\" + *name});
  }
  return list;
}

std::wstring homeFolder() {
  wchar_t home[260] = {};
  const DWORD length = GetEnvironmentVariableW(L"USERPROFILE", home, 260);
  return length < 260 ? std::wstring(home, length) : std::wstring();
}

std::wstring machineName() {
  wchar_t name[256] = {};
  DWORD length = 256;
  return GetComputerNameW(name, &length) != FALSE ? std::wstring(name, length) : std::wstring();
}

} // namespace

TargetList systemTargets() {
  TargetList list;
  list.drives = drives();
  list.wsl = distributions();
  list.home = homeFolder();
  list.machine = machineName();
  list.elevated = processElevated();
  return list;
}

} // namespace vorda
