#include "app/relaunch_win.h"

#include "app/exit_code.h"
#include "app/option_names.h"
#include "app/port_choice.h"
#include "app/std_output_win.h"
#include "base/quote_argument.h"
#include "base/text.h"
#include "win/com_apartment.h"
#include "win/port_in_use.h"
#include "win/program_path.h"

#include <shellapi.h>

namespace vorda {

namespace {

constexpr DWORD kAnswerSentMs = 250;
constexpr DWORD kPortReleasedMs = 150;

bool startElevated(const std::wstring& program, const std::wstring& parameters, HWND owner) {
  const ComApartment apartment;
  SHELLEXECUTEINFOW start{};
  start.cbSize = sizeof start;
  start.fMask = SEE_MASK_NOCLOSEPROCESS | SEE_MASK_NOASYNC;
  start.hwnd = owner;
  start.lpVerb = L"runas";
  start.lpFile = program.c_str();
  start.lpParameters = parameters.c_str();
  start.nShow = SW_SHOWNORMAL;
  if (ShellExecuteExW(&start) == FALSE) return false;
  if (start.hProcess != nullptr) CloseHandle(start.hProcess);
  return true;
}

} // namespace

void relaunchElevated(ServerState& server, const std::string& sessionKey, HWND owner) {
  const std::uint32_t port = server.actualPort;
  std::wstring parameters(kPortOption); // all that takes memory, while there is still a server
  parameters.append(L" ").append(std::to_wstring(port)).append(L" ").append(kNoOpenOption);
  if (!sessionKey.empty()) {
    parameters.append(L" ").append(kLockOption).append(L" ").append(kTokenOption);
    parameters.append(L" ").append(quoteArgument(toUtf16(sessionKey)));
  }
  const std::wstring program = programPath();
  Sleep(kAnswerSentMs);
  stopServer(server);
  Sleep(kPortReleasedMs);
  if (startElevated(program, parameters, owner)) ExitProcess(kExitDone);
  const PortTrial trial = {[&server](std::uint16_t number, std::wstring& reason) {
                             return startServer(server, number, false, reason);
                           },
                           [](unsigned milliseconds) { Sleep(milliseconds); }, portInUse};
  std::wstring reason;
  if (takePortAgain(static_cast<std::uint16_t>(port), trial, reason)) return;
  // No page reaches this copy any more.
  showErrorBox(portLostText(static_cast<std::uint16_t>(port), reason));
  ExitProcess(kExitFailed);
}

} // namespace vorda
