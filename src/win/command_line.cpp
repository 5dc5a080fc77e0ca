#include "win/command_line.h"

#include <windows.h>

#include <shellapi.h>

namespace vorda {

std::vector<std::wstring> splitCommandLine(const std::wstring& commandLine) {
  std::vector<std::wstring> arguments;
  int count = 0;
  // For an empty string Windows returns the path of this program.
  wchar_t** values =
      commandLine.empty() ? nullptr : CommandLineToArgvW(commandLine.c_str(), &count);
  if (values == nullptr) return arguments;
  for (int i = 1; i < count; ++i) arguments.emplace_back(values[i]);
  LocalFree(values);
  return arguments;
}

} // namespace vorda
