#include "win/elevation.h"

#include "win/handles.h"

namespace vorda {

bool processElevated() {
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_QUERY, &opened) == FALSE) return false;
  const KernelHandle token(opened);
  TOKEN_ELEVATION elevation{};
  DWORD bytes = 0;
  return GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof elevation, &bytes) !=
             FALSE &&
         elevation.TokenIsElevated != 0;
}

} // namespace vorda
