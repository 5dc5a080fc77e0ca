// The access token of a process.
#pragma once

#include "win/handles.h"

namespace vorda {

// access: TOKEN_ rights. Invalid on failure.
KernelHandle openToken(HANDLE process, DWORD access);

} // namespace vorda
