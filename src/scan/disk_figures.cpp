#include "scan/disk_figures.h"

#include "base/text.h"

#include <algorithm>
#include <array>

namespace vorda {

std::uint32_t LinkTable::find(std::uint64_t id) const {
  // Windows' identity of an NTFS file has its sequence number above the record number.
  if (complete) id &= 0xFFFF'FFFF'FFFFULL;
  const auto at = std::lower_bound(
      files.begin(), files.end(), id,
      [](const LinkedFile& file, std::uint64_t wanted) { return file.id < wanted; });
  return at != files.end() && at->id == id ? static_cast<std::uint32_t>(at - files.begin())
                                           : kNoLink;
}

std::uint32_t LinkTable::addText(std::wstring_view name) {
  if (name.size() >= kNoText - text.size()) return kNoText;
  const auto at = static_cast<std::uint32_t>(text.size());
  text.append(name);
  text.push_back(L'\0');
  return at;
}

std::uint32_t foldedHash(std::wstring_view name) {
  std::uint64_t hash = name.size();
  for (const wchar_t unit : name) {
    hash = (hash ^ static_cast<std::uint16_t>(lowerUnit(unit))) * 0x9E37'79B9'7F4A'7C15ULL;
    hash ^= hash >> 29U;
  }
  return static_cast<std::uint32_t>(hash ^ hash >> 32U);
}

bool isPagingFile(std::wstring_view name) {
  constexpr std::array<std::wstring_view, 3> kNames = {L"pagefile.sys", L"hiberfil.sys",
                                                       L"swapfile.sys"};
  return std::any_of(kNames.begin(), kNames.end(),
                     [name](std::wstring_view one) { return equalsIgnoreCase(name, one); });
}

} // namespace vorda
