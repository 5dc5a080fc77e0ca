// Opening the raw volume of a drive letter.
#pragma once

#include "win/handles.h"

namespace vorda {

// For reading past the system's cache. Invalid when the system refuses; its error code
// then tells why.
FileHandle openRawVolume(wchar_t letter);

} // namespace vorda
