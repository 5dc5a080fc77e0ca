#include "base/companion.h"

#include <limits>

namespace vorda {

namespace {

// Where the program's name ends, by the rules that Windows has for the first argument: a quoted one
// ends at the next quote, any other at the first blank or control character.
std::size_t endOfProgram(std::wstring_view commandLine) {
  if (commandLine.starts_with(L'"')) {
    const std::size_t quote = commandLine.find(L'"', 1);
    return quote == std::wstring_view::npos ? commandLine.size() : quote + 1;
  }
  std::size_t end = 0;
  while (end < commandLine.size() && commandLine[end] > L' ') ++end;
  return end;
}

} // namespace

std::wstring commandLineFor(std::wstring_view program, std::wstring_view ownCommandLine) {
  std::wstring line = L"\"";
  line.append(program).append(L"\"");
  return line.append(ownCommandLine.substr(endOfProgram(ownCommandLine)));
}

std::optional<std::uintptr_t> readHandleNumber(std::wstring_view text) {
  constexpr std::uintptr_t kMost = std::numeric_limits<std::uintptr_t>::max();
  std::uintptr_t number = 0;
  for (const wchar_t unit : text) {
    if (unit < L'0' || unit > L'9') return std::nullopt;
    const auto digit = static_cast<std::uintptr_t>(unit - L'0');
    if (number > (kMost - digit) / 10) return std::nullopt;
    number = number * 10 + digit;
  }
  if (number == 0) return std::nullopt;
  return number;
}

} // namespace vorda
