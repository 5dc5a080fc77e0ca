#include "app/service_win.h"

#include "app/port_choice.h"
#include "update/agent_service_win.h"
#include "win/handles.h"

#include <windows.h>

#include <atomic>
#include <memory>

namespace vorda {

namespace {

constexpr DWORD kStartHintMs = 5'000;
constexpr DWORD kStopHintMs = 3'000;
constexpr std::chrono::seconds kReportEach{1};

class Service {
public:
  Service(ServerState& server, RunningOperations& operations, std::int32_t port)
      : server_(server), operations_(operations), port_(port) {}

  void run(); // on a thread of the service dispatcher
  void control(DWORD code);

private:
  void reportPending(DWORD state, DWORD accepted, DWORD waitHintMs) {
    report(state, accepted, waitHintMs, ++checkPoint_);
  }
  void report(DWORD state, DWORD accepted, DWORD waitHintMs, DWORD checkPoint) const;

  ServerState& server_;
  RunningOperations& operations_;
  std::int32_t port_;
  SERVICE_STATUS_HANDLE status_ = nullptr;
  KernelHandle stopped_;
  std::atomic<DWORD> checkPoint_{0};
};

// A global, because Windows passes no context to the functions below. Set before they can be
// called and never changed.
Service* theService = nullptr;

void WINAPI serviceMain(DWORD, wchar_t**) { theService->run(); }
void WINAPI serviceControl(DWORD code) { theService->control(code); }

void Service::report(DWORD state, DWORD accepted, DWORD waitHintMs, DWORD checkPoint) const {
  SERVICE_STATUS status{};
  status.dwServiceType = SERVICE_WIN32_OWN_PROCESS;
  status.dwCurrentState = state;
  status.dwControlsAccepted = accepted;
  status.dwCheckPoint = checkPoint;
  status.dwWaitHint = waitHintMs;
  SetServiceStatus(status_, &status);
}

void Service::run() {
  status_ = RegisterServiceCtrlHandlerW(kAgentServiceName, serviceControl);
  if (status_ == nullptr) return;
  reportPending(SERVICE_START_PENDING, 0, kStartHintMs);
  stopped_.reset(CreateEventW(nullptr, TRUE, FALSE, nullptr));
  std::wstring reason; // nobody to read it
  if (stopped_.valid() && isPortNumber(port_) &&
      startServer(server_, static_cast<std::uint16_t>(port_), true, reason)) {
    report(SERVICE_RUNNING, SERVICE_ACCEPT_STOP, 0, 0);
    WaitForSingleObject(stopped_.get(), INFINITE);
    for (auto left = kWaitForOperations; left > kReportEach; left -= kReportEach) {
      if (operations_.close(kReportEach)) break;
      reportPending(SERVICE_STOP_PENDING, 0, kStopHintMs);
    }
  }
  report(SERVICE_STOPPED, 0, 0, 0);
}

void Service::control(DWORD code) {
  if (code != SERVICE_CONTROL_STOP && code != SERVICE_CONTROL_SHUTDOWN) return;
  reportPending(SERVICE_STOP_PENDING, SERVICE_ACCEPT_STOP, kStopHintMs);
  stopServer(server_);
  SetEvent(stopped_.get());
}

} // namespace

bool runService(ServerState& server, RunningOperations& operations, std::int32_t port) {
  // Never destroyed: the dispatcher may return before its threads do.
  theService = std::make_unique<Service>(server, operations, port).release();
  std::wstring name = kAgentServiceName; // the table needs a writable string
  const SERVICE_TABLE_ENTRYW table[] = {{name.data(), serviceMain}, {nullptr, nullptr}};
  return StartServiceCtrlDispatcherW(table) != FALSE;
}

} // namespace vorda
