// Windows paths as text: joining, splitting, and the forms handed to the system.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace vorda {

constexpr bool isSeparator(wchar_t unit) { return unit == L'\\' || unit == L'/'; }

// Whether the second character is ":".
bool isDriveLetterPath(std::wstring_view path);

// The path to hand to the system: one of 240 characters or more gets "\\?\" in front
// ("\\?\UNC\" in place of the two backslashes of a share); a shorter one, and one that
// has the prefix already, stays as it is. The path must be absolute to be lengthened.
std::wstring systemPath(std::wstring_view path);

// systemPath, but with the prefix at any length: for paths that the system would
// otherwise read as another one, since it drops trailing dots and blanks of names.
std::wstring literalPath(std::wstring_view path);

// Whether the system would drop characters from the end of this name.
bool losesItsEnd(std::wstring_view name);

// Whether a path says by itself which place it means: "X:\\…" or "\\\\…" with backslashes
// only and no component "." or "..".
bool isPlainAbsolute(std::wstring_view path);

// folder + separator + name, without doubling a separator that folder ends in.
std::wstring joinPath(std::wstring_view folder, std::wstring_view name, wchar_t separator = L'\\');

// Appends separator + name to a path in the same way.
void appendName(std::wstring& path, std::wstring_view name, wchar_t separator);

// The non-empty components of a path, front to back, split at both separators or as
// said. The views point into path.
std::vector<std::wstring_view> pathComponents(std::wstring_view path,
                                              bool (*separates)(wchar_t) = isSeparator);

// The last component: what follows the last separator, or the whole path without one.
// Empty when the path ends in a separator.
std::wstring_view lastName(std::wstring_view path);

// What lastName leaves: the path up to and including its last separator, or nothing.
std::wstring_view folderPart(std::wstring_view path);

// The folder above, or an empty text above a drive, a share or a distribution.
std::wstring parentOf(std::wstring_view path);

// A root as it is scanned: without trailing separators, "X:" as "X:\".
std::wstring normaliseRoot(std::wstring_view root);

// Whether a path lies below a folder at any depth, ignoring case. Both are plain absolute
// paths with backslashes; the folder itself does not count.
bool liesBelow(std::wstring_view path, std::wstring_view folder);

// Whether a path is one of another machine: those of this one do not begin with a lone "/".
bool isRemotePath(std::wstring_view path);

} // namespace vorda
