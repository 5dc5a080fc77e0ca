#include "win/access_token.h"

namespace vorda {

KernelHandle openToken(HANDLE process, DWORD access) {
  HANDLE token = nullptr;
  return KernelHandle(OpenProcessToken(process, access, &token) == FALSE ? nullptr : token);
}

} // namespace vorda
