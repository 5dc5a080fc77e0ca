#include "app/browser_address.h"

#include "base/text.h"

namespace vorda {

namespace {

// The page looks for exactly these strings, so both begin with "?".
constexpr std::wstring_view kTokenParameter = L"?token=";
constexpr std::wstring_view kScanParameter = L"?scan=";

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

std::wstring browserAddress(std::uint32_t port, std::wstring_view key, std::wstring_view scanPath) {
  std::wstring address = L"http://127.0.0.1:" + std::to_wstring(port) + L"/";
  if (!key.empty()) address.append(kTokenParameter).append(key);
  if (!scanPath.empty()) address.append(kScanParameter).append(percentEncoded(scanPath));
  return address;
}

} // namespace vorda
