// Having something opened by the shell, as a double click on it would.
#pragma once

#include <string>

namespace vorda {

// target: a program, a document or an address. parameters: for a program. Whether
// anything came of it is not told.
void shellOpen(const std::wstring& target, const std::wstring& parameters = {});

} // namespace vorda
