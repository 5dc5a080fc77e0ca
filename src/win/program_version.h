// The program's own version, read from the version resource of its file.
#pragma once

#include <string>

namespace vorda {

// "major.minor.build"; empty when the file has no version resource.
std::wstring programVersion();

} // namespace vorda
