#include "scan/targets.h"

#include "base/paths.h"
#include "base/text.h"
#include "win/raw_volume.h"

#include <windows.h>

namespace vorda {

namespace {

std::wstring driveRoot(const std::wstring& path) { return path.substr(0, 2) + L"\\"; }

} // namespace

TurboVerdict turboAllowed(const std::wstring& path) {
  const auto refuse = [](std::string_view reason) { return TurboVerdict{false, reason}; };
  if (const std::string_view refusal = turboPathRefusal(path); !refusal.empty())
    return refuse(refusal);
  const std::wstring root = driveRoot(path);
  if (GetDriveTypeW(root.c_str()) != DRIVE_FIXED) return refuse(kNotFixed);
  wchar_t fileSystem[32] = {};
  if (GetVolumeInformationW(root.c_str(), nullptr, 0, nullptr, nullptr, nullptr, fileSystem, 32) ==
      FALSE) {
    return refuse(kNoFileSystem);
  }
  if (!equalsIgnoreCase(fileSystem, L"NTFS")) return refuse(kNotNtfs);
  const FileHandle handle = openRawVolume(path[0]);
  return handle.valid() ? TurboVerdict{true, {}} : refuse(kNoAdmin);
}

DriveFigures driveFigures(const std::wstring& path) {
  DriveFigures figures;
  if (!isDriveLetterPath(path)) return figures;
  const std::wstring root = driveRoot(path);
  ULARGE_INTEGER total{};
  ULARGE_INTEGER free{};
  if (GetDiskFreeSpaceExW(root.c_str(), nullptr, &total, &free) != FALSE) {
    figures.totalBytes = total.QuadPart;
    figures.freeBytes = free.QuadPart;
  }
  wchar_t label[260] = {};
  if (GetVolumeInformationW(root.c_str(), label, 260, nullptr, nullptr, nullptr, nullptr, 0) !=
      FALSE) {
    figures.label = label;
  }
  return figures;
}

} // namespace vorda
