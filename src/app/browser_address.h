// The address that the browser is sent to at the start.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

// key: for a page that must present one, else empty; it goes in as it stands. scanPath:
// what the page is to scan at once, or empty; it is percent-encoded.
std::wstring browserAddress(std::uint32_t port, std::wstring_view key, std::wstring_view scanPath);

} // namespace vorda
