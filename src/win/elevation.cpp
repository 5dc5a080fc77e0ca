#include "win/elevation.h"

#include "win/access_token.h"

namespace vorda {

bool processElevated() {
  const KernelHandle token = openToken(GetCurrentProcess(), TOKEN_QUERY);
  TOKEN_ELEVATION elevation{};
  DWORD bytes = 0;
  return token.valid() &&
         GetTokenInformation(token.get(), TokenElevation, &elevation, sizeof elevation, &bytes) !=
             FALSE &&
         elevation.TokenIsElevated != 0;
}

} // namespace vorda
