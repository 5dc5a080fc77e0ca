// vorda.com, the console companion: starts the vorda.exe beside it with the same arguments, waits for
// it and returns its exit code. Windows does not wait for a program without console, and command
// prompts prefer .com to .exe.
#include "app/exit_code.h"
#include "app/std_output_win.h"
#include "base/companion.h"
#include "win/error_text.h"
#include "win/final_path.h"
#include "win/handles.h"
#include "win/program_path.h"

#include <windows.h>

namespace {

using namespace vorda;

constexpr DWORD kClosingMs =
    4'500; // Windows ends this process 5 seconds after its console is closed
constexpr std::wstring_view kLongForm = L"\\\\?\\";
constexpr std::wstring_view kLongShareForm = L"\\\\?\\UNC\\";

struct Running {
  KernelHandle stop;    // set when the program is to stop
  KernelHandle process; // not valid yet while it is being started
};

// A global, because Windows passes no context to the function below. Set before that can be called
// and never changed.
Running* theRunning = nullptr;

// On a thread of Windows' own. Windows ends this process when a closed console's handler returns.
BOOL WINAPI whenInterrupted(DWORD event) {
  SetEvent(theRunning->stop.get());
  if (event != CTRL_C_EVENT && event != CTRL_BREAK_EVENT && theRunning->process.valid()) {
    WaitForSingleObject(theRunning->process.get(), kClosingMs);
  }
  return TRUE;
}

// Package managers put a link into a folder of links; the program lies where that leads.
std::wstring ownFolder() {
  std::wstring path = programPath();
  const FileHandle file(CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                    FILE_ATTRIBUTE_NORMAL, nullptr));
  if (file.valid()) path = finalPath(file.get(), VOLUME_NAME_DOS).value_or(path);
  if (path.starts_with(kLongShareForm)) {
    path.replace(0, kLongShareForm.size(), L"\\\\");
  } else if (path.starts_with(kLongForm)) {
    path.erase(0, kLongForm.size());
  }
  return path.substr(0, path.rfind(L'\\') + 1);
}

// A standard handle for the program: a file or pipe is inherited. A console is not, since it is no use
// to a program that is not attached to it; the program attaches itself when it has something to say.
HANDLE handleToPass(DWORD which) {
  const HANDLE handle = GetStdHandle(which);
  DWORD mode = 0;
  if (handle == nullptr || handle == INVALID_HANDLE_VALUE ||
      GetConsoleMode(handle, &mode) != FALSE) {
    return nullptr;
  }
  SetHandleInformation(handle, HANDLE_FLAG_INHERIT, HANDLE_FLAG_INHERIT);
  return handle;
}

// Returns ERROR_SUCCESS or why it could not be started.
DWORD startProgram(Running& running, const std::wstring& program) {
  SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
  running.stop.reset(CreateEventW(&inheritable, TRUE, FALSE, nullptr));
  const std::wstring event = std::to_wstring(reinterpret_cast<std::uintptr_t>(running.stop.get()));
  SetEnvironmentVariableW(kStopEventVariable, event.c_str());
  STARTUPINFOW startup{};
  startup.cb = sizeof startup;
  startup.dwFlags = STARTF_USESTDHANDLES;
  startup.hStdInput = handleToPass(STD_INPUT_HANDLE);
  startup.hStdOutput = handleToPass(STD_OUTPUT_HANDLE);
  startup.hStdError = handleToPass(STD_ERROR_HANDLE);
  std::wstring line = commandLineFor(program, GetCommandLineW());
  PROCESS_INFORMATION started{};
  if (CreateProcessW(program.c_str(), line.data(), nullptr, nullptr, TRUE, 0, nullptr, nullptr,
                     &startup, &started) == FALSE) {
    return GetLastError();
  }
  CloseHandle(started.hThread);
  running.process.reset(started.hProcess);
  return ERROR_SUCCESS;
}

int run() {
  SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  const std::wstring folder = ownFolder();
  if (folder.empty()) {
    printError(L"Vorda: vorda.com cannot tell where it lies, and so not where vorda.exe is");
    return kExitFailed;
  }
  Running running;
  theRunning = &running;
  SetConsoleCtrlHandler(whenInterrupted, TRUE);
  if (const DWORD error = startProgram(running, folder + L"vorda.exe"); error != ERROR_SUCCESS) {
    printError(error == ERROR_FILE_NOT_FOUND
                   ? L"Vorda: vorda.exe is missing; it belongs into " + folder
                   : L"Vorda: " + folder + L"vorda.exe could not be started: " + errorText(error));
    return kExitFailed;
  }
  WaitForSingleObject(running.process.get(), INFINITE);
  DWORD code = kExitFailed;
  GetExitCodeProcess(running.process.get(), &code);
  ExitProcess(code); // without giving up what the handler's thread may still use
}

} // namespace

int wmain() { return run(); }
