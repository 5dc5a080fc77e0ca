// Windows paths as text: joining, splitting, and the forms passed to system calls.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorda {

constexpr bool isSeparator(wchar_t unit) { return unit == L'\\' || unit == L'/'; }

// Whether the second character is ":".
bool isDriveLetterPath(std::wstring_view path);

// The path for a system call: "\\?\" is prepended from 240 characters on ("\\?\UNC\"
// replaces the two backslashes of a share). A shorter path, or one that has the prefix
// already, is returned unchanged. Long paths must be absolute.
std::wstring systemPath(std::wstring_view path);

// systemPath, but prefixed at any length. Without the prefix the system drops trailing dots
// and spaces from names, and so opens a different file.
std::wstring literalPath(std::wstring_view path);

// A path without "\\?\", as "X:\…" or "\\server\…", if it means the same without it. Names of
// devices are not looked for. Any other path is returned unchanged.
std::wstring withoutLiteralPrefix(std::wstring_view path);

// Whether the name ends in a dot or space, which the system drops without the prefix.
bool losesItsEnd(std::wstring_view name);

// Whether a path means the same wherever the program was started: "X:", "X:\…" or "\\…", also with
// "/". "X:name" and "\name" do not.
bool isAbsolutePath(std::wstring_view path);

// Whether a path is absolute and normalised: "X:\…" or "\\…", backslashes only, and no
// component "." or "..". Behind "\\?\" dots are ordinary names.
bool isPlainAbsolute(std::wstring_view path);

// folder + separator + name, with no second separator if the folder ends in one.
std::wstring joinPath(std::wstring_view folder, std::wstring_view name, wchar_t separator = L'\\');

// The same, appending to a path.
void appendName(std::wstring& path, std::wstring_view name, wchar_t separator);

// The non-empty components of a path in order, split at "\" and "/" unless another
// predicate is given. The views point into path.
std::vector<std::wstring_view> pathComponents(std::wstring_view path,
                                              bool (*separates)(wchar_t) = isSeparator);

// Everything after the last separator; the whole path if there is none.
std::wstring_view lastName(std::wstring_view path);

// Everything before lastName, including the separator.
std::wstring_view folderPart(std::wstring_view path);

// The parent folder; empty for the root of a drive, share or WSL distribution.
std::wstring parentOf(std::wstring_view path);

// "X:\" or "\\server\share" of an absolute path.
std::wstring placeRoot(const std::wstring& path);

// The canonical spelling of a scan root: no trailing separators, but "X:" becomes "X:\", also
// behind "\\?\", where "Volume{…}" does the same.
std::wstring normaliseRoot(std::wstring_view root);

// Whether a path lies below a folder at any depth, ignoring case; the folder itself does
// not. Both must be absolute and use backslashes.
bool liesBelow(std::wstring_view path, std::wstring_view folder);

// Whether a path is from an ssh scan: paths of this machine never begin with a single "/".
bool isSshPath(std::wstring_view path);

} // namespace vorda
