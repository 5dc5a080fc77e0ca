// Opens something through the shell, as a double click would.
#pragma once

#include <string>

namespace vorda {

// target: a program, a document or a URL. parameters: the arguments of a program. Failures are
// ignored.
void shellOpen(const std::wstring& target, const std::wstring& parameters = {});

} // namespace vorda
