#include "rules/safety_rules.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>
#include <array>

namespace vorda {

namespace {

constexpr std::array<ProtectedPlace, 14> kProtectedPlaces = {{
    {L"\\Windows", "windows", true},
    {L"\\Program Files", "programs", true},
    {L"\\Program Files (x86)", "programs", true},
    {L"\\System Volume Information", "restore", true},
    {L"\\$Recycle.Bin", "recyclebin", true},
    {L"\\$RECYCLE.BIN", "recyclebin", true},
    {L"\\Boot", "boot", true},
    {L"\\Recovery", "recovery", true},
    {L"\\ProgramData", "programdata", false},
    {L"\\Users", "allusers", false},
    {L"\\pagefile.sys", "pagefile", false},
    {L"\\hiberfil.sys", "hiberfil", false},
    {L"\\swapfile.sys", "pagefile", false},
    {L"\\bootmgr", "bootmgr", false},
}};

bool hits(const ProtectedPlace& place, std::wstring_view rest) {
  if (!startsWithIgnoreCase(rest, place.place)) return false;
  const std::size_t length = place.place.size();
  return rest.size() == length || (place.beneath && rest[length] == L'\\');
}

// How many components the rest names, empty ones between two backslashes included.
std::size_t levels(std::wstring_view rest) {
  std::size_t count = 0;
  for (std::size_t i = 0; i + 1 < rest.size(); ++i) {
    if (rest[i] == L'\\') ++count;
  }
  return count;
}

} // namespace

const std::array<ProtectedPlace, 14>& protectedPlaces() { return kProtectedPlaces; }

std::wstring normalisePath(std::wstring_view path) {
  std::wstring out(path);
  std::replace(out.begin(), out.end(), L'/', L'\\');
  while (out.size() > 3 && out.back() == L'\\') out.pop_back();
  return out;
}

std::string deleteRefusal(std::wstring_view path) {
  const std::wstring normal = normalisePath(path);
  const std::wstring_view whole = normal;
  const bool drive = isDriveLetterPath(whole);
  if (whole.size() < 3) return drive && whole.size() == 2 ? "driveroot" : "tooshort";
  if (whole.find(L"..") != std::wstring_view::npos) return "dotdot";
  if (whole.find_first_of(L"*?") != std::wstring_view::npos) return "wildcard";
  if (drive && whole.size() == 3 && whole[2] == L'\\') return "driveroot";
  std::wstring_view rest;
  if (drive) {
    // "C:name" means a place relative to wherever that drive's current folder is.
    if (whole[2] != L'\\') return "notabsolute";
    rest = whole.substr(2);
  } else {
    // "/\name" is a name at the root of another machine, and no share.
    if (isSshPath(path) || !whole.starts_with(L"\\\\")) return "notabsolute";
    const std::size_t serverEnd = whole.find(L'\\', 2);
    if (serverEnd == std::wstring_view::npos) return "wholeshare";
    const std::size_t shareEnd = whole.find(L'\\', serverEnd + 1);
    if (shareEnd == std::wstring_view::npos) return "wholeshare";
    rest = whole.substr(shareEnd);
  }
  for (const ProtectedPlace& place : kProtectedPlaces) {
    if (hits(place, rest)) return place.word;
  }
  if (levels(rest) == 2 && startsWithIgnoreCase(rest, L"\\Users")) return "profile";
  return {};
}

bool isInsideRoot(std::wstring_view root, std::wstring_view path) {
  std::wstring outer = normalisePath(root);
  if (outer.size() == 2 && isDriveLetterPath(outer)) outer.push_back(L'\\');
  // The root of another machine's scan: nothing here lies in it.
  if (!isDriveLetterPath(outer) && !outer.starts_with(L"\\\\")) return false;
  return liesBelow(normalisePath(path), outer);
}

} // namespace vorda
