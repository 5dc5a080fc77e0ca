// Raw access to a volume.
#pragma once

#include "win/handles.h"

namespace vorda {

// Opens the volume with this drive letter for unbuffered sequential reading. Invalid on
// failure; GetLastError then has the reason.
FileHandle openRawVolume(wchar_t letter);

} // namespace vorda
