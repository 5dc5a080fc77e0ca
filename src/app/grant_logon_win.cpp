#include "app/exit_code.h"
#include "app/modes_win.h"
#include "app/std_output_win.h"
#include "update/service_logon_win.h"

namespace vorda {

int grantLogonRight(const std::wstring& account) {
  const std::wstring reason = grantServiceLogon(account);
  if (reason.empty()) return kExitDone;
  showError(L"Could not grant the log-on-as-a-service right to " + account + L".\n" + reason);
  return kExitFailed;
}

} // namespace vorda
