#include "base/paths.h"
#include "base/text.h"
#include "scan/ssh/ssh_scan.h"
#include "scan/ssh/ssh_start.h"
#include "win/handles.h"
#include "win/program_path.h"

#include <windows.h>

#include <algorithm>
#include <array>

namespace vorda {

namespace {

constexpr DWORD kPipeBytes = 1'048'576;

// Calls a Windows function that fills a buffer, enlarging it until the text fits.
template <typename Ask> std::wstring systemText(Ask ask) {
  std::wstring text(MAX_PATH, L'\0');
  while (true) {
    const DWORD length = ask(text.data(), static_cast<DWORD>(text.size()));
    const bool whole = length < text.size();
    text.resize(length);
    if (whole) return text;
  }
}

bool isFile(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) == 0;
}

// Identifies a folder regardless of the spelling of its path.
struct FolderIdentity {
  bool known = false;
  DWORD volume = 0;
  DWORD high = 0;
  DWORD low = 0;

  explicit FolderIdentity(const std::wstring& path) {
    const FileHandle folder(CreateFileW(path.c_str(), 0, kShareAll, nullptr, OPEN_EXISTING,
                                        FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    BY_HANDLE_FILE_INFORMATION facts{};
    if (!folder.valid() || GetFileInformationByHandle(folder.get(), &facts) == FALSE) return;
    known = true;
    volume = facts.dwVolumeSerialNumber;
    high = facts.nFileIndexHigh;
    low = facts.nFileIndexLow;
  }

  // A folder that cannot be opened may be any folder.
  bool mayBe(const FolderIdentity& other) const {
    return !known || !other.known ||
           (volume == other.volume && high == other.high && low == other.low);
  }
};

// The ssh client of Windows, or else the first one on PATH. Never one in the current folder or
// next to this program, where an attacker may have placed it.
std::wstring findSsh() {
  const std::wstring system =
      systemText([](wchar_t* text, DWORD size) { return GetSystemDirectoryW(text, size); });
  if (std::wstring ours = system + L"\\OpenSSH\\ssh.exe"; isFile(ours)) return ours;
  const FolderIdentity current(
      systemText([](wchar_t* text, DWORD size) { return GetCurrentDirectoryW(size, text); }));
  const FolderIdentity beside(std::wstring(folderPart(programPath())));
  const std::wstring path = systemText(
      [](wchar_t* text, DWORD size) { return GetEnvironmentVariableW(L"PATH", text, size); });
  for (const std::wstring& folder : absoluteFolders(path)) {
    std::wstring found = folder + L"\\ssh.exe";
    if (!isFile(found)) continue;
    const FolderIdentity place(folder);
    if (!place.mayBe(current) && !place.mayBe(beside)) return found;
  }
  return {};
}

class Child final : public SshProcess {
public:
  Child(KernelHandle output, KernelHandle job) : output_(std::move(output)), job_(std::move(job)) {}
  void runs(KernelHandle process) { process_ = std::move(process); }

  Read read(char* buffer, std::size_t size, std::chrono::milliseconds wait,
            std::size_t& count) override {
    const ULONGLONG until = GetTickCount64() + static_cast<ULONGLONG>(wait.count());
    while (true) {
      // Checked before the pipe, so that the output of an ended process is still read.
      const bool ended = WaitForSingleObject(process_.get(), 0) == WAIT_OBJECT_0;
      DWORD available = 0;
      if (PeekNamedPipe(output_.get(), nullptr, 0, nullptr, &available, nullptr) == FALSE) {
        return Read::end;
      }
      if (available > 0) return take(buffer, std::min<std::size_t>(size, available), count);
      // Child processes of ssh may keep the pipe open after it has ended.
      if (ended) return Read::end;
      const ULONGLONG now = GetTickCount64();
      if (now >= until) return Read::silence;
      WaitForSingleObject(process_.get(),
                          std::min<DWORD>(kPollMs, static_cast<DWORD>(until - now)));
    }
  }

  void end() override { TerminateProcess(process_.get(), 1); }

  std::uint32_t close(std::chrono::milliseconds wait) override {
    output_.reset();
    WaitForSingleObject(process_.get(), static_cast<DWORD>(wait.count()));
    DWORD code = 0;
    if (GetExitCodeProcess(process_.get(), &code) == FALSE) code = STILL_ACTIVE;
    process_.reset();
    job_.reset(); // an ssh that its host keeps from ending goes with it
    return code;
  }

private:
  // Anonymous pipes cannot be waited on, so an empty one is polled.
  static constexpr DWORD kPollMs = 10;

  Read take(char* buffer, std::size_t size, std::size_t& count) {
    DWORD taken = 0;
    const BOOL read = ReadFile(output_.get(), buffer, static_cast<DWORD>(size), &taken, nullptr);
    count = taken;
    return read != FALSE && taken > 0 ? Read::bytes : Read::end;
  }

  KernelHandle output_;
  KernelHandle process_;
  KernelHandle job_;
};

// Ends the processes in it when its only handle is closed, and so also with this process, however that
// ends: an ssh whose host is silent would stay for ever, and keep the password in its environment.
KernelHandle makeJob() {
  KernelHandle job(CreateJobObjectW(nullptr, nullptr));
  JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits{};
  limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
  const bool set = SetInformationJobObject(job.get(), JobObjectExtendedLimitInformation, &limits,
                                           sizeof limits) != FALSE;
  return set ? std::move(job) : KernelHandle();
}

// The handles a child process inherits, and the job it is in.
class ChildAttributes {
public:
  ChildAttributes(std::array<HANDLE, 2> handles, HANDLE job) : handles_(handles), job_(job) {
    SIZE_T size = 0;
    InitializeProcThreadAttributeList(nullptr, 2, 0, &size);
    memory_.resize(size);
    auto* list = reinterpret_cast<LPPROC_THREAD_ATTRIBUTE_LIST>(memory_.data());
    if (InitializeProcThreadAttributeList(list, 2, 0, &size) == FALSE) return;
    list_ = list;
    complete_ = set(PROC_THREAD_ATTRIBUTE_HANDLE_LIST, handles_.data(), sizeof handles_) &&
                set(PROC_THREAD_ATTRIBUTE_JOB_LIST, &job_, sizeof job_);
  }
  ChildAttributes(const ChildAttributes&) = delete;
  ChildAttributes& operator=(const ChildAttributes&) = delete;
  ~ChildAttributes() {
    if (list_ != nullptr) DeleteProcThreadAttributeList(list_);
  }

  LPPROC_THREAD_ATTRIBUTE_LIST get() const { return complete_ ? list_ : nullptr; }

private:
  bool set(DWORD_PTR attribute, void* value, SIZE_T size) {
    return UpdateProcThreadAttribute(list_, 0, attribute, value, size, nullptr, nullptr) != FALSE;
  }

  std::array<HANDLE, 2> handles_;
  HANDLE job_;
  std::vector<char> memory_;
  LPPROC_THREAD_ATTRIBUTE_LIST list_ = nullptr;
  bool complete_ = false;
};

WideSecret environmentWith(const Secret& password) {
  wchar_t* own = GetEnvironmentStringsW();
  WideSecret environment = askpassEnvironment(own, programPath(), password);
  FreeEnvironmentStringsW(own);
  return environment;
}

// Starts ssh in a job, with stdout and stderr connected to pipeEnd. Invalid if it cannot be started.
KernelHandle startProcess(std::wstring commandLine, HANDLE pipeEnd, HANDLE job,
                          const Secret& password) {
  const std::wstring program = findSsh();
  if (program.empty()) return KernelHandle();
  SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
  const FileHandle nothing(CreateFileW(L"NUL", GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE,
                                       &inheritable, OPEN_EXISTING, 0, nullptr));
  if (!nothing.valid()) return KernelHandle();
  const ChildAttributes attributes({pipeEnd, nothing.get()}, job);
  if (attributes.get() == nullptr) return KernelHandle();
  STARTUPINFOEXW startup = {};
  startup.StartupInfo.cb = sizeof startup;
  startup.StartupInfo.dwFlags = STARTF_USESTDHANDLES;
  startup.StartupInfo.hStdInput = nothing.get();
  startup.StartupInfo.hStdOutput = pipeEnd;
  startup.StartupInfo.hStdError = pipeEnd;
  startup.lpAttributeList = attributes.get();
  WideSecret environment = password.empty() ? WideSecret() : environmentWith(password);
  PROCESS_INFORMATION process = {};
  const DWORD flags = CREATE_NO_WINDOW | CREATE_UNICODE_ENVIRONMENT | EXTENDED_STARTUPINFO_PRESENT;
  if (CreateProcessW(program.c_str(), commandLine.data(), nullptr, nullptr, TRUE, flags,
                     environment.empty() ? nullptr : environment.data(), nullptr,
                     &startup.StartupInfo, &process) == FALSE) {
    return KernelHandle();
  }
  CloseHandle(process.hThread);
  return KernelHandle(process.hProcess);
}

std::unique_ptr<SshProcess> start(const std::wstring& commandLine, const Secret& password,
                                  std::string_view& failure) {
  SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
  HANDLE readEnd = nullptr;
  HANDLE writeEnd = nullptr;
  if (CreatePipe(&readEnd, &writeEnd, &inheritable, kPipeBytes) == FALSE) {
    failure = kSshPipe;
    return nullptr;
  }
  KernelHandle output(readEnd);
  const KernelHandle pipeEnd(writeEnd);
  KernelHandle job = makeJob();
  if (!job.valid() || SetHandleInformation(readEnd, HANDLE_FLAG_INHERIT, 0) == FALSE) {
    failure = kSshPipe;
    return nullptr;
  }
  const HANDLE jobHandle = job.get();
  // First: what runs has to be held.
  auto child = std::make_unique<Child>(std::move(output), std::move(job));
  KernelHandle process = startProcess(commandLine, writeEnd, jobHandle, password);
  if (!process.valid()) {
    failure = kSshMissing;
    return nullptr;
  }
  child->runs(std::move(process));
  return child;
}

} // namespace

SshStart systemSsh() { return start; }

} // namespace vorda
