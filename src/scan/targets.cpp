#include "scan/targets.h"

#include "base/paths.h"
#include "base/text.h"

namespace vorda {

TargetClass classifyTarget(std::wstring_view target) {
  const std::wstring lower = lowerCase(target);
  if (lower.starts_with(L"ssh://")) return TargetClass::ssh;
  const bool drive = isDriveLetterPath(lower);
  // user@host:/path
  const bool hasAt = lower.find(L'@') != std::wstring::npos;
  if (!drive && hasAt && lower.find(L'\\') == std::wstring::npos) return TargetClass::ssh;
  if (lower.starts_with(L"\\\\wsl.localhost\\") || lower.starts_with(L"\\\\wsl$\\"))
    return TargetClass::wsl;
  if (lower.starts_with(L"\\\\")) return TargetClass::unc;
  if (drive && lower.size() < 4) return TargetClass::drive;
  return TargetClass::folder;
}

bool isWslDistribution(std::wstring_view target) {
  return classifyTarget(target) == TargetClass::wsl && pathComponents(target).size() == 2;
}

std::string_view turboPathRefusal(std::wstring_view path) {
  if (!isDriveLetterPath(path)) return kNotLocal;
  if (path.size() >= 4) return kNotWholeDrive;
  return {};
}

} // namespace vorda
