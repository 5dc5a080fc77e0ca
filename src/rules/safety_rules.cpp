#include "rules/safety_rules.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>
#include <array>

namespace vorda {

namespace {

constexpr std::array<ProtectedPlace, 13> kProtectedPlaces = {{
    {L"\\Windows", Refusal::windows, true},
    {L"\\Program Files", Refusal::programs, true},
    {L"\\Program Files (x86)", Refusal::programs, true},
    {L"\\System Volume Information", Refusal::restore, true},
    {L"\\$Recycle.Bin", Refusal::recycleBin, true},
    {L"\\Boot", Refusal::boot, true},
    {L"\\Recovery", Refusal::recovery, true},
    {L"\\ProgramData", Refusal::programData, false},
    {L"\\Users", Refusal::allUsers, false},
    {L"\\pagefile.sys", Refusal::pageFile, false},
    {L"\\hiberfil.sys", Refusal::hibernationFile, false},
    {L"\\swapfile.sys", Refusal::pageFile, false},
    {L"\\bootmgr", Refusal::bootManager, false},
}};

constexpr std::array<std::wstring_view, 6> kDevices = {L"CON", L"PRN",    L"AUX",
                                                       L"NUL", L"CONIN$", L"CONOUT$"};
constexpr std::wstring_view kPortNumbers = L"123456789\u00B9\u00B2\u00B3";

bool hits(const ProtectedPlace& place, std::wstring_view rest) {
  if (!startsWithIgnoreCase(rest, place.place)) return false;
  const std::size_t length = place.place.size();
  return rest.size() == length || (place.recursive && rest[length] == L'\\');
}

// The number of path components, counting empty ones between two backslashes. None is at the end.
std::size_t levels(std::wstring_view rest) {
  return static_cast<std::size_t>(std::count(rest.begin(), rest.end(), L'\\'));
}

// Whether Windows opens a device instead of a file of this name, as with "nul", "COM1.txt" and
// "con .log": what follows the first dot or colon does not count.
bool isDeviceName(std::wstring_view name) {
  name = name.substr(0, name.find_first_of(L".:"));
  name = name.substr(0, name.find_last_not_of(L' ') + 1);
  const auto is = [name](std::wstring_view device) { return equalsIgnoreCase(name, device); };
  if (std::any_of(kDevices.begin(), kDevices.end(), is)) return true;
  return name.size() == 4 && kPortNumbers.find(name[3]) != std::wstring_view::npos &&
         (startsWithIgnoreCase(name, L"COM") || startsWithIgnoreCase(name, L"LPT"));
}

} // namespace

bool namesDevice(std::wstring_view path) {
  const auto names = pathComponents(path);
  return std::any_of(names.begin(), names.end(), isDeviceName);
}

const std::array<ProtectedPlace, 13>& protectedPlaces() { return kProtectedPlaces; }

std::wstring normalisePath(std::wstring_view path) {
  std::wstring out(path);
  std::replace(out.begin(), out.end(), L'/', L'\\');
  while (out.size() > 3 && out.back() == L'\\') out.pop_back();
  return out;
}

Refusal deleteRefusal(std::wstring_view path) {
  const std::wstring normal = normalisePath(path);
  const std::wstring_view whole = normal;
  const bool drive = isDriveLetterPath(whole);
  if (whole.size() < 3) return drive ? Refusal::driveRoot : Refusal::tooShort;
  if (whole.find(L"..") != std::wstring_view::npos) return Refusal::dotDot;
  if (whole.find_first_of(L"*?") != std::wstring_view::npos) return Refusal::wildcard;
  if (drive && whole.size() == 3 && whole[2] == L'\\') return Refusal::driveRoot;
  std::wstring_view rest;
  if (drive) {
    // "C:name" is relative to the current folder of that drive.
    if (whole[2] != L'\\') return Refusal::notAbsolute;
    rest = whole.substr(2);
  } else {
    // "/\name" is an entry in the root of a remote machine, not a share.
    if (isSshPath(path) || !whole.starts_with(L"\\\\")) return Refusal::notAbsolute;
    const std::size_t serverEnd = whole.find(L'\\', 2);
    if (serverEnd == std::wstring_view::npos) return Refusal::wholeShare;
    const std::size_t shareEnd = whole.find(L'\\', serverEnd + 1);
    if (shareEnd == std::wstring_view::npos) return Refusal::wholeShare;
    rest = whole.substr(shareEnd);
  }
  for (const ProtectedPlace& place : kProtectedPlaces) {
    if (hits(place, rest)) return place.refusal;
  }
  if (levels(rest) == 2 && startsWithIgnoreCase(rest, L"\\Users")) return Refusal::profile;
  // On a share, these are names like any other.
  if (drive && namesDevice(rest)) return Refusal::ambiguous;
  return Refusal::none;
}

bool isInsideRoot(std::wstring_view root, std::wstring_view path) {
  std::wstring outer = normalisePath(root);
  if (outer.size() == 2 && isDriveLetterPath(outer)) outer.push_back(L'\\');
  // The root of a remote scan contains no local path.
  if (!isDriveLetterPath(outer) && !outer.starts_with(L"\\\\")) return false;
  return liesBelow(normalisePath(path), outer);
}

} // namespace vorda
