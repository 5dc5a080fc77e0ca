// Writing a file so that its name never shows half of it.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// Writes the bytes to a new file beside the name, flushes it and renames it over the
// name; a failure removes that file again and leaves what the name held. Returns the
// reason of a failure in the system's words, or an empty text.
std::wstring writeFileSafely(const std::wstring& name, std::string_view bytes);

} // namespace vorda
