// The fixed rules that protect what Windows or a user cannot do without. They judge only the
// spelling of a path and never access the disk.
#pragma once

#include "rules/refusal.h"

#include <array>
#include <string>
#include <string_view>

namespace vorda {

// The folder of all recycle bins on a drive or share. Its case varies between systems.
inline constexpr std::wstring_view kRecycleBinName = L"$Recycle.Bin";

// A place on a drive or share that must not be deleted.
struct ProtectedPlace {
  std::wstring_view place; // relative to the drive or share, with a leading "\"
  Refusal refusal;
  bool recursive; // everything inside is protected as well
};

// In the order in which they are checked.
const std::array<ProtectedPlace, 13>& protectedPlaces();

// The first rule that forbids deleting a path. Never one that the disk decides.
Refusal deleteRefusal(std::wstring_view path);

// Whether a name in a path is one for which Windows opens a device ("nul", "COM1.txt").
bool namesDevice(std::wstring_view path);

// Whether a path lies below the root. The root itself does not.
bool isInsideRoot(std::wstring_view root, std::wstring_view path);

// The form that all rules work on: "/" replaced by "\", no trailing "\" after the third
// character.
std::wstring normalisePath(std::wstring_view path);

} // namespace vorda
