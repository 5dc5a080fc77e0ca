// The fixed rules that keep a deletion away from what a machine or a person cannot do
// without. They judge the spelling of a path alone; nothing is looked up on the disk.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

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
