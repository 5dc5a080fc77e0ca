// Splits command lines the way Windows does.
#pragma once

#include <string>
#include <vector>

namespace vorda {

// The arguments after the program name. Empty on failure.
std::vector<std::wstring> splitCommandLine(const std::wstring& commandLine);

} // namespace vorda
