// The location of the deletion log. Each user has one.
#pragma once

#include <string>

namespace vorda {

// Neither the file nor its folder needs to exist.
std::wstring deletionLogPath();

} // namespace vorda
