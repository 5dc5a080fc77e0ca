// The fixed rules that keep a deletion away from what a machine or a person cannot do
// without. They judge the spelling of a path alone; nothing is looked up on the disk.
#pragma once

#include <array>
#include <string>
#include <string_view>

namespace vorda {

// A place on a drive or share that stays.
struct ProtectedPlace {
  std::wstring_view place; // behind the drive or the share
  const char* word;
  bool beneath; // everything inside is refused as well
};

// In the order in which they are tested.
const std::array<ProtectedPlace, 14>& protectedPlaces();

// Why a path must not be deleted, or an empty text: "tooshort", "dotdot", "wildcard",
// "driveroot", "notabsolute", "wholeshare", the word of a protected place ("windows",
// "programs", "restore", "recyclebin", "boot", "recovery", "programdata", "allusers",
// "pagefile", "hiberfil", "bootmgr") or "profile". The first that fits is given.
std::string deleteRefusal(std::wstring_view path);

// Whether a path lies beneath the root; the root itself does not.
bool isInsideRoot(std::wstring_view root, std::wstring_view path);

// The spelling that every rule looks at: "\" for "/", no trailing "\" past the third
// character.
std::wstring normalisePath(std::wstring_view path);

} // namespace vorda
