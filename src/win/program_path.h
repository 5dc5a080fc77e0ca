// Where this program's own file lies.
#pragma once

#include <string>

namespace vorda {

// The full path of the running executable; empty when the system does not tell.
std::wstring programPath();

} // namespace vorda
