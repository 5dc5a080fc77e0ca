// What the tests need of Windows and node cannot do: system_helper_win.exe VERB ARGUMENTS. Exits with 0 if
// it worked, or prints what failed with the code of Windows and exits with 1.
#include "app/std_output_win.h"
#include "win/handles.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>
#include <winioctl.h>

#include <string>
#include <vector>

using namespace vorda;

namespace {

using Arguments = std::vector<std::wstring>;

bool say(const std::wstring& line) {
  writeStdLine(line, StdStream::output);
  return true;
}

bool failed(const wchar_t* what) {
  say(std::wstring(what) + L" failed: " + std::to_wstring(GetLastError()));
  return false;
}

// FILE SIZE...: gives each file that many bytes, all in a hole.
bool makeSparse(const Arguments& values) {
  for (std::size_t i = 0; i + 1 < values.size(); i += 2) {
    const FileHandle file(CreateFileW((L"\\\\?\\" + values[i]).c_str(),
                                      GENERIC_READ | GENERIC_WRITE, 0, nullptr, OPEN_ALWAYS, 0,
                                      nullptr));
    if (!file.valid()) return failed(L"CreateFile");
    DWORD count = 0;
    if (DeviceIoControl(file.get(), FSCTL_SET_SPARSE, nullptr, 0, nullptr, 0, &count, nullptr) ==
        FALSE)
      return failed(L"FSCTL_SET_SPARSE");
    LARGE_INTEGER size;
    size.QuadPart = std::stoll(values[i + 1]);
    if (SetFilePointerEx(file.get(), size, nullptr, FILE_BEGIN) == FALSE ||
        SetEndOfFile(file.get()) == FALSE)
      return failed(L"SetEndOfFile");
  }
  return true;
}

// PID: prints its number of threads and its peak of memory in bytes.
bool describeProcess(const Arguments& values) {
  const DWORD pid = std::stoul(values[0]);
  const KernelHandle process(OpenProcess(PROCESS_QUERY_INFORMATION | PROCESS_VM_READ, FALSE, pid));
  PROCESS_MEMORY_COUNTERS memory{};
  if (!process.valid() || GetProcessMemoryInfo(process.get(), &memory, sizeof memory) == FALSE)
    return failed(L"GetProcessMemoryInfo");
  const FileHandle all(CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0));
  THREADENTRY32 entry{};
  entry.dwSize = sizeof entry;
  int threads = 0;
  for (BOOL found = Thread32First(all.get(), &entry); found != FALSE;
       found = Thread32Next(all.get(), &entry))
    if (entry.th32OwnerProcessID == pid) ++threads;
  return say(std::to_wstring(threads) + L" " + std::to_wstring(memory.PeakWorkingSetSize));
}

} // namespace

int wmain(int argc, wchar_t** argv) {
  const std::wstring verb = argc < 2 ? L"" : argv[1];
  const Arguments values(argv + (argc < 2 ? argc : 2), argv + argc);
  if (verb == L"sparse") return makeSparse(values) ? 0 : 1;
  if (verb == L"process") return describeProcess(values) ? 0 : 1;
  say(L"no such verb");
  return 2;
}
