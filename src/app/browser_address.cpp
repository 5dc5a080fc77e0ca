#include "app/browser_address.h"

#include "base/text.h"

namespace vorda {

namespace {

// The page looks for exactly these strings, so both begin with "?".
constexpr std::wstring_view kTokenParameter = L"?token=";
constexpr std::wstring_view kScanParameter = L"?scan=";
// A fragment is never sent to a server, and the page removes it from its address.
constexpr std::wstring_view kSessionKeyFragment = L"#key=";

constexpr bool isUnreserved(char c) {
  return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || (c >= '0' && c <= '9') || c == '-' ||
         c == '.' || c == '_' || c == '~';
}

std::wstring percentEncoded(std::wstring_view text) {
  constexpr std::wstring_view kDigits = L"0123456789ABCDEF";
  std::wstring out;
  for (const char c : toUtf8(text)) {
    const auto byte = static_cast<unsigned char>(c);
    if (isUnreserved(c)) {
      out += static_cast<wchar_t>(byte);
    } else {
      out += {L'%', kDigits[byte >> 4U], kDigits[byte & 0xFU]};
    }
  }
  return out;
}

} // namespace

std::wstring browserAddress(std::uint32_t port, const BrowserAddress& parts) {
  std::wstring address = L"http://127.0.0.1:" + std::to_wstring(port) + L"/";
  if (!parts.key.empty()) address.append(kTokenParameter).append(parts.key);
  if (!parts.scanPath.empty()) {
    address.append(kScanParameter).append(percentEncoded(parts.scanPath));
  }
  if (!parts.sessionKey.empty()) {
    address.append(kSessionKeyFragment).append(percentEncoded(parts.sessionKey));
  }
  return address;
}

} // namespace vorda
