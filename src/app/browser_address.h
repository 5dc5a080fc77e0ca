// The address that is opened in the browser at startup.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

// key: what the page must send, or empty; not encoded. scanPath: what the page scans at once, or
// empty; percent-encoded.
std::wstring browserAddress(std::uint32_t port, std::wstring_view key, std::wstring_view scanPath);

} // namespace vorda
