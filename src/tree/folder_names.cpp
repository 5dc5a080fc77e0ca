#include "tree/folder_names.h"

#include "base/paths.h"
#include "base/text.h"
#include "rules/safety_rules.h"

#include <algorithm>
#include <array>

namespace vorda {

namespace {

constexpr std::array<std::wstring_view, 14> kProtectedFolderNames = {
    L"Program Files", L"Program Files (x86)", L"Windows",   L"ProgramData", L"steamapps",
    L"SteamLibrary",  L"Epic Games",          L"GOG Games", L"Battle.net",  kRecycleBinName,
    L"WindowsApps",   L"Riot Games",          L"EA Games",  L"Ubisoft"};

constexpr std::array<std::wstring_view, 11> kCacheFolderNames = {
    L"node_modules", L"Cache",        L"GPUCache", L"CacheStorage", L"Code Cache", L"__pycache__",
    L"DerivedData",  L"Intermediate", L".gradle",  L".nuget",       L"Crashpad"};

constexpr std::uint16_t kMaxClimb = 256;
constexpr std::uint16_t kNotAsked = 0xFFFF;
constexpr std::uint16_t kNever = 0xFFFE; // no protected name within range

std::uint16_t oneStepFurther(std::uint16_t steps) {
  return steps < kMaxClimb ? static_cast<std::uint16_t>(steps + 1) : kNever;
}

template <std::size_t N>
bool isOneOf(const std::array<std::wstring_view, N>& names, std::wstring_view name) {
  return std::any_of(names.begin(), names.end(),
                     [name](std::wstring_view one) { return equalsIgnoreCase(one, name); });
}

} // namespace

FolderNames::FolderNames(const ScanResult& result) : folders_(result.folders) {
  rootParts_ = pathComponents(result.rootPath);
  std::reverse(rootParts_.begin(), rootParts_.end());
}

template <typename Visit> void FolderNames::climb(std::uint32_t folder, Visit visit) const {
  while (folder < folders_.size() && folder != 0) {
    if (!visit(std::wstring_view(folders_[folder].name))) return;
    folder = folders_[folder].parent;
  }
  if (folder != 0) return;
  for (const std::wstring_view part : rootParts_) {
    if (!visit(part)) return;
  }
}

bool FolderNames::endsWith(std::uint32_t folder,
                           const std::vector<std::wstring_view>& components) const {
  std::size_t left = components.size();
  climb(folder, [&components, &left](std::wstring_view name) {
    if (left == 0 || !equalsIgnoreCase(components[left - 1], name)) return false;
    --left;
    return true;
  });
  return left == 0;
}

bool FolderNames::grandparentIs(std::uint32_t folder, std::wstring_view wanted) const {
  int level = 0;
  bool same = false;
  climb(folder, [&level, &same, wanted](std::wstring_view name) {
    if (level == 2) same = equalsIgnoreCase(name, wanted);
    return level++ < 2;
  });
  return same;
}

std::uint16_t FolderNames::stepsFromRoot() const {
  std::uint16_t steps = 0;
  for (const std::wstring_view part : rootParts_) {
    if (isOneOf(kProtectedFolderNames, part)) return steps;
    steps = oneStepFurther(steps);
    if (steps == kNever) break;
  }
  return kNever;
}

std::uint16_t FolderNames::stepsToProtected(std::uint32_t folder) {
  if (protectedSteps_.empty()) {
    protectedSteps_.assign(folders_.size(), kNotAsked);
    protectedSteps_[0] = stepsFromRoot();
  }
  std::vector<std::uint32_t> climbed;
  std::uint16_t steps = kNever;
  for (; folder < folders_.size(); folder = folders_[folder].parent) {
    steps = protectedSteps_[folder];
    if (steps != kNotAsked) break;
    climbed.push_back(folder);
    steps = kNever;
  }
  for (auto at = climbed.rbegin(); at != climbed.rend(); ++at) {
    const bool itself = isOneOf(kProtectedFolderNames, folders_[*at].name);
    steps = itself ? std::uint16_t{0} : oneStepFurther(steps);
    protectedSteps_[*at] = steps;
  }
  return steps;
}

bool FolderNames::isProtected(std::uint32_t folder) {
  return folder < folders_.size() && stepsToProtected(folder) <= kMaxClimb;
}

bool isCacheFolderName(std::wstring_view name) { return isOneOf(kCacheFolderNames, name); }

} // namespace vorda
