#include "update/agent_service_win.h"

#include "win/owned.h"

#include <windows.h>

#include <algorithm>
#include <initializer_list>

namespace vorda {

namespace {

constexpr unsigned kPolls = 50;
constexpr DWORD kPollMs = 200;

using ServiceHandle = Owned<SC_HANDLE, CloseServiceHandle>;

ServiceHandle openAgentService(DWORD access) {
  const ServiceHandle manager(OpenSCManagerW(nullptr, nullptr, SC_MANAGER_CONNECT));
  if (!manager.valid()) return ServiceHandle();
  return ServiceHandle(OpenServiceW(manager.get(), kAgentServiceName, access));
}

// All zero on failure.
SERVICE_STATUS_PROCESS statusOf(const ServiceHandle& service) {
  SERVICE_STATUS_PROCESS status{};
  DWORD size = 0;
  if (QueryServiceStatusEx(service.get(), SC_STATUS_PROCESS_INFO, reinterpret_cast<BYTE*>(&status),
                           sizeof status, &size) == FALSE) {
    return {};
  }
  return status;
}

// Waits up to ten seconds while the service is in one of these states.
void waitWhile(const ServiceHandle& service, std::initializer_list<DWORD> states) {
  for (unsigned poll = 0; poll < kPolls; ++poll) {
    const DWORD state = statusOf(service).dwCurrentState;
    if (std::find(states.begin(), states.end(), state) == states.end()) return;
    Sleep(kPollMs);
  }
}

} // namespace

std::optional<bool> stopAgentService(std::uint32_t processId) {
  const ServiceHandle service = openAgentService(SERVICE_STOP | SERVICE_QUERY_STATUS);
  const SERVICE_STATUS_PROCESS before = statusOf(service);
  if (before.dwProcessId != 0 && before.dwProcessId != processId) return std::nullopt;
  SERVICE_STATUS ignored{};
  if (ControlService(service.get(), SERVICE_CONTROL_STOP, &ignored) == FALSE) return false;
  waitWhile(service, {SERVICE_RUNNING, SERVICE_STOP_PENDING});
  return true;
}

ServiceStart startAgentService() {
  const ServiceHandle service = openAgentService(SERVICE_START | SERVICE_QUERY_STATUS);
  if (!service.valid()) return ServiceStart::gone;
  // A service that is still stopping cannot be started.
  waitWhile(service, {SERVICE_STOP_PENDING});
  if (statusOf(service).dwCurrentState == SERVICE_RUNNING) return ServiceStart::alreadyRunning;
  if (StartServiceW(service.get(), 0, nullptr) != FALSE) return ServiceStart::started;
  return GetLastError() == ERROR_SERVICE_ALREADY_RUNNING ? ServiceStart::alreadyRunning
                                                         : ServiceStart::refused;
}

} // namespace vorda
