#include "win/privilege.h"

#include "win/handles.h"

namespace vorda {

void enablePrivilege(const wchar_t* name) {
  HANDLE opened = nullptr;
  if (OpenProcessToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES, &opened) == FALSE) return;
  const KernelHandle token(opened);
  TOKEN_PRIVILEGES wanted{};
  wanted.PrivilegeCount = 1;
  wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  if (LookupPrivilegeValueW(nullptr, name, &wanted.Privileges[0].Luid) == FALSE) return;
  AdjustTokenPrivileges(token.get(), FALSE, &wanted, 0, nullptr, nullptr);
}

} // namespace vorda
