// What the tests need of Windows and node cannot do: system_helper_win.exe VERB ARGUMENTS. Exits with 0 if
// it worked, or prints what failed with the code of Windows and exits with 1.
#include "app/std_output_win.h"
#include "win/handles.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>
#include <winioctl.h>

#include <bit>
#include <cstdint>
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

// Files in the cloud, as cldapi.dll of Windows 10 1709 and later has them.
constexpr USHORT kHydrateFully = 2;
constexpr USHORT kAlwaysPopulated = 3;
constexpr DWORD kInSync = 2;
struct CloudProvider {
  DWORD size = sizeof(CloudProvider);
  const wchar_t* name = L"Vorda tests";
  const wchar_t* version = L"1";
  const void* identity = nullptr;
  DWORD identityLength = 0;
  const void* fileIdentity = nullptr;
  DWORD fileIdentityLength = 0;
  GUID id{0x6f1f4d5b, 0x9d0a, 0x4c5e, {0x8a, 0x11, 0x5b, 0x7e, 0x21, 0x4c, 0x90, 0x3d}};
};
struct CloudPolicies {
  DWORD size = sizeof(CloudPolicies);
  USHORT hydration = kHydrateFully, hydrationModifier = 0;
  USHORT population = kAlwaysPopulated, populationModifier = 0;
  DWORD inSync = 0, hardLinks = 0, placeholders = 0;
};
struct CloudFile {
  const wchar_t* name;
  FILE_BASIC_INFO basic{};
  LARGE_INTEGER size{};
  const void* identity = "vorda";
  DWORD identityLength = 5;
  DWORD flags = kInSync;
  HRESULT result = S_OK;
  LONGLONG usn = 0;
};

template <typename Function> Function cloudFunction(const char* name) {
  const HMODULE library = LoadLibraryExW(L"cldapi.dll", nullptr, LOAD_LIBRARY_SEARCH_SYSTEM32);
  return library == nullptr ? nullptr : std::bit_cast<Function>(GetProcAddress(library, name));
}

// FOLDER NAME SIZE...: makes the folder one that is kept in a cloud, with these files, which have no
// contents here and are provided by nobody.
bool makeCloud(const Arguments& values) {
  const auto enroll = cloudFunction<HRESULT(WINAPI*)(
      const wchar_t*, const CloudProvider*, const CloudPolicies*, DWORD)>("CfRegisterSyncRoot");
  const auto create =
      cloudFunction<HRESULT(WINAPI*)(const wchar_t*, CloudFile*, DWORD, DWORD, DWORD*)>(
          "CfCreatePlaceholders");
  if (enroll == nullptr || create == nullptr) return failed(L"cldapi.dll");
  const CloudProvider provider;
  const CloudPolicies policies;
  HRESULT result = enroll(values[0].c_str(), &provider, &policies, 0);
  std::vector<CloudFile> files;
  for (std::size_t i = 1; i + 1 < values.size(); i += 2) {
    CloudFile file{values[i].c_str()};
    file.basic.FileAttributes = FILE_ATTRIBUTE_NORMAL;
    file.size.QuadPart = std::stoll(values[i + 1]);
    files.push_back(file);
  }
  DWORD made = 0;
  if (SUCCEEDED(result))
    result = create(values[0].c_str(), files.data(), static_cast<DWORD>(files.size()), 0, &made);
  SetLastError(static_cast<DWORD>(result));
  return (SUCCEEDED(result) && made == files.size()) || failed(L"making files in the cloud");
}

// FOLDER: ends that.
bool removeCloud(const Arguments& values) {
  const auto leave = cloudFunction<HRESULT(WINAPI*)(const wchar_t*)>("CfUnregisterSyncRoot");
  return (leave != nullptr && SUCCEEDED(leave(values[0].c_str()))) ||
         failed(L"CfUnregisterSyncRoot");
}

// FILE: prints how many bytes it takes on the disk.
bool sizeOnDisk(const Arguments& values) {
  DWORD high = 0;
  const DWORD low = GetCompressedFileSizeW(values[0].c_str(), &high);
  if (low == INVALID_FILE_SIZE && GetLastError() != NO_ERROR)
    return failed(L"GetCompressedFileSize");
  return say(std::to_wstring((std::uint64_t{high} << 32) + low));
}

} // namespace

int wmain(int argc, wchar_t** argv) {
  const std::wstring verb = argc < 2 ? L"" : argv[1];
  const Arguments values(argv + (argc < 2 ? argc : 2), argv + argc);
  if (verb == L"sparse") return makeSparse(values) ? 0 : 1;
  if (verb == L"process") return describeProcess(values) ? 0 : 1;
  if (verb == L"cloud") return makeCloud(values) ? 0 : 1;
  if (verb == L"no-cloud") return removeCloud(values) ? 0 : 1;
  if (verb == L"on-disk") return sizeOnDisk(values) ? 0 : 1;
  say(L"no such verb");
  return 2;
}
