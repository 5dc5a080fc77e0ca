#include "base/quote_argument.h"

namespace vorda {

std::wstring quoteArgument(std::wstring_view argument) {
  std::wstring out = L"\"";
  std::size_t backslashes = 0; // immediately before this unit
  for (const wchar_t unit : argument) {
    if (unit == L'"') out.append(backslashes + 1, L'\\');
    backslashes = unit == L'\\' ? backslashes + 1 : 0;
    out.push_back(unit);
  }
  out.append(backslashes, L'\\');
  out.push_back(L'"');
  return out;
}

} // namespace vorda
