// Writes a result file so that no half-written file ever has its name.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// Writes a temporary file next to the target, flushes it and renames it over the target. On
// failure it deletes the temporary file and leaves the target alone. To NUL, nothing is written;
// other devices are refused. Returns the reason as a text for people, or an empty string on
// success.
std::wstring writeFileSafely(const std::wstring& name, std::string_view bytes);

// Why writeFileSafely would fail for this name, as far as that can be known before there is
// anything to write. Leaves nothing behind.
std::wstring whyNotWritable(const std::wstring& name);

} // namespace vorda
