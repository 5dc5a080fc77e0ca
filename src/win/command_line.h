// Command lines as the system splits them.
#pragma once

#include <string>
#include <vector>

namespace vorda {

// The arguments behind the program's name.
std::vector<std::wstring> splitCommandLine(const std::wstring& commandLine);

} // namespace vorda
