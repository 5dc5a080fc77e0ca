// What kind of image a file is, by its first bytes and not by its name.
#pragma once

#include <string_view>

namespace vorda {

// How many bytes are enough to tell.
inline constexpr std::size_t kImageHeadBytes = 32;

// The media type of a PNG, JPEG, GIF, WebP or BMP image; empty for anything else. Formats that can hold
// scripts or refer to other files are none of these.
std::string_view imageKindOf(std::string_view head);

} // namespace vorda
