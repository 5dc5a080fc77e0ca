// The address that is opened in the browser at startup.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

// Each may be empty.
struct BrowserAddress {
  std::wstring_view key{};        // what the page must send; not encoded
  std::wstring_view scanPath{};   // what the page scans at once; percent-encoded
  std::wstring_view sessionKey{}; // the key of a locked session; percent-encoded, as the fragment
};

std::wstring browserAddress(std::uint32_t port, const BrowserAddress& parts);

} // namespace vorda
