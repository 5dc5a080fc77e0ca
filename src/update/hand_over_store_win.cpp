#include "update/hand_over_store_win.h"

#include "update/agent_record.h"
#include "win/handles.h"
#include "win/process_facts.h"
#include "win/registry_key.h"

#include <windows.h>

namespace vorda {

namespace {

// Part of the interface with installers.
constexpr const wchar_t* kPath = L"Software\\Brixmoor\\VordaUpdate";
constexpr const wchar_t* kAgents = L"Agents";
constexpr const wchar_t* kLog = L"Log";
constexpr const wchar_t* kWritten = L"Written";

constexpr const wchar_t* kInstallerMutex = L"Global\\_MSIExecute"; // Windows Installer's own
constexpr const wchar_t* kListMutex = L"Global\\VordaUpdateList";
constexpr std::size_t kTimeBytes = 8;
constexpr DWORD kListWaitMs = 2'000;

// Keeps two agents that close at the same time from losing each other's entry. If the lock
// cannot be obtained in time, writing without it is better than not writing at all.
class ListLock {
public:
  ListLock() : mutex_(CreateMutexW(nullptr, FALSE, kListMutex)) {
    WaitForSingleObject(mutex_.get(), kListWaitMs);
  }
  ListLock(const ListLock&) = delete;
  ListLock& operator=(const ListLock&) = delete;
  ~ListLock() { ReleaseMutex(mutex_.get()); }

private:
  KernelHandle mutex_;
};

} // namespace

std::uint64_t fileTimeNow() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return (static_cast<std::uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
}

HandOver readHandOver() {
  const RegistryKey key = RegistryKey::open(HKEY_LOCAL_MACHINE, kPath, KEY_READ | KEY_WOW64_64KEY);
  const auto agents = key.texts(kAgents);
  const auto written = key.bytes(kWritten);
  if (!agents || !written || written->size() != kTimeBytes) return {};
  HandOver list = {*agents, key.texts(kLog).value_or(std::vector<std::wstring>()), 0};
  for (std::size_t i = kTimeBytes; i > 0; --i) list.written = list.written << 8 | (*written)[i - 1];
  return list;
}

bool writeHandOver(const HandOver& list) {
  const RegistryKey key =
      RegistryKey::create(HKEY_LOCAL_MACHINE, kPath, KEY_SET_VALUE | WRITE_DAC | KEY_WOW64_64KEY);
  key.restrictToAdministrators(); // the command lines may contain keys
  std::vector<BYTE> written;
  for (std::size_t i = 0; i < kTimeBytes; ++i) {
    written.push_back(static_cast<BYTE>(list.written >> (8 * i)));
  }
  return key.setTexts(kAgents, list.agents) && key.setTexts(kLog, list.log) &&
         key.setBytes(kWritten, written);
}

void deleteHandOver() { RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kPath, KEY_WOW64_64KEY, 0); }

void noteDuringInstallation() {
  const KernelHandle installing(OpenMutexW(SYNCHRONIZE, FALSE, kInstallerMutex));
  if (!installing.valid() && GetLastError() != ERROR_ACCESS_DENIED) return; // no such mutex
  const std::wstring record = agentRecord(processAccount(GetCurrentProcess()), GetCommandLineW());
  const ListLock lock;
  writeHandOver(withAgent(readHandOver(), record, fileTimeNow()));
}

} // namespace vorda
