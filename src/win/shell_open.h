// Opens something through the shell, as a double click would.
#pragma once

#include <string>

namespace vorda {

// target: a URL, or the full path of a program or document; the shell would look for a bare name in the
// current folder first. parameters: the arguments of a program. Failures are ignored.
void shellOpen(const std::wstring& target, const std::wstring& parameters = {});

// Starts Windows' own Explorer.
void openExplorer(const std::wstring& parameters);

} // namespace vorda
