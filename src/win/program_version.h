// The version in this executable's version resource.
#pragma once

#include <string>

namespace vorda {

// "major.minor.build", or empty if there is no version resource.
std::wstring programVersion();

} // namespace vorda
