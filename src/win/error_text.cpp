#include "win/error_text.h"

#include <windows.h>

#include <string_view>

namespace vorda {

std::wstring errorText(unsigned long code) {
  wchar_t buffer[1024];
  const DWORD length = FormatMessageW(
      FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | FORMAT_MESSAGE_MAX_WIDTH_MASK,
      nullptr, code, 0, buffer, static_cast<DWORD>(std::size(buffer)), nullptr);
  std::wstring text(buffer, length);
  const std::size_t end = text.find_last_not_of(L" \r\n\t");
  text.resize(end == std::wstring::npos ? 0 : end + 1);
  return text.empty() ? L"error " + std::to_wstring(code) : text;
}

} // namespace vorda
