#include "win/privilege.h"

#include "win/access_token.h"

namespace vorda {

void enablePrivilege(const wchar_t* name) {
  const KernelHandle token = openToken(GetCurrentProcess(), TOKEN_ADJUST_PRIVILEGES);
  if (!token.valid()) return;
  TOKEN_PRIVILEGES wanted{};
  wanted.PrivilegeCount = 1;
  wanted.Privileges[0].Attributes = SE_PRIVILEGE_ENABLED;
  if (LookupPrivilegeValueW(nullptr, name, &wanted.Privileges[0].Luid) == FALSE) return;
  AdjustTokenPrivileges(token.get(), FALSE, &wanted, 0, nullptr, nullptr);
}

} // namespace vorda
