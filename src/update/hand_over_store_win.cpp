#include "update/hand_over_store_win.h"

#include "base/paths.h"
#include "update/agent_record.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/process_facts.h"
#include "win/program_path.h"
#include "win/registry_key.h"

#include <windows.h>

namespace vorda {

namespace {

// Part of the interface with installers.
constexpr const wchar_t* kPath = L"Software\\Brixmoor\\VordaUpdate";
constexpr const wchar_t* kAgents = L"Agents";
constexpr const wchar_t* kLog = L"Log";
constexpr const wchar_t* kWritten = L"Written";
constexpr const wchar_t* kFolder = L"Folder";

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

std::optional<HandOver> readList(const RegistryKey& key) {
  const auto agents = key.texts(kAgents);
  const auto written = key.bytes(kWritten);
  if (!agents || !written || written->size() != kTimeBytes) return std::nullopt;
  HandOver list = {*agents, key.texts(kLog).value_or(std::vector<std::wstring>()), 0,
                   key.text(kFolder).value_or(std::wstring())};
  for (std::size_t i = kTimeBytes; i > 0; --i) list.written = list.written << 8 | (*written)[i - 1];
  return list;
}

bool writeList(const std::wstring& path, const HandOver& list) {
  const RegistryKey key =
      RegistryKey::create(HKEY_LOCAL_MACHINE, path, KEY_SET_VALUE | WRITE_DAC | KEY_WOW64_64KEY);
  key.restrictToAdministrators(); // the command lines may contain keys
  std::vector<BYTE> written;
  for (std::size_t i = 0; i < kTimeBytes; ++i) {
    written.push_back(static_cast<BYTE>(list.written >> (8 * i)));
  }
  return key.setTexts(kAgents, list.agents) && key.setTexts(kLog, list.log) &&
         key.setText(kFolder, list.folder) && key.setBytes(kWritten, written);
}

void deleteAll() {
  const RegistryKey key = RegistryKey::open(HKEY_LOCAL_MACHINE, kPath, KEY_READ | KEY_WOW64_64KEY);
  while (const auto name = key.subkey(0)) {
    if (RegDeleteKeyExW(key.get(), name->c_str(), KEY_WOW64_64KEY, 0) != ERROR_SUCCESS) break;
  }
  RegDeleteKeyExW(HKEY_LOCAL_MACHINE, kPath, KEY_WOW64_64KEY, 0);
}

HandOvers readHandOvers() {
  HandOvers lists;
  const RegistryKey key = RegistryKey::open(HKEY_LOCAL_MACHINE, kPath, KEY_READ | KEY_WOW64_64KEY);
  if (auto latest = readList(key)) lists.push_back(std::move(*latest));
  for (DWORD index = 0; const auto name = key.subkey(index); ++index) {
    if (auto list = readList(RegistryKey::open(key.get(), *name, KEY_READ | KEY_WOW64_64KEY))) {
      lists.push_back(std::move(*list));
    }
  }
  return lists;
}

bool writeHandOvers(const HandOvers& lists) {
  deleteAll();
  bool written = true;
  for (std::size_t i = 0; i < lists.size(); ++i) {
    const std::wstring path = i == 0 ? std::wstring(kPath) : kPath + (L"\\" + std::to_wstring(i));
    written = writeList(path, lists[i]) && written;
  }
  return written;
}

} // namespace

std::uint64_t fileTimeNow() {
  FILETIME now{};
  GetSystemTimeAsFileTime(&now);
  return (static_cast<std::uint64_t>(now.dwHighDateTime) << 32) | now.dwLowDateTime;
}

HandOver readHandOver(const std::wstring& folder) {
  const ListLock lock;
  return listOf(readHandOvers(), folder, fileTimeNow());
}

bool writeHandOver(HandOver list) {
  const ListLock lock;
  const std::uint64_t now = fileTimeNow();
  return writeHandOvers(withList(readHandOvers(), std::move(list), now));
}

void deleteHandOver(const std::wstring& folder) {
  const ListLock lock;
  writeHandOvers(withoutList(readHandOvers(), folder, fileTimeNow()));
}

std::wstring installationFolder(const std::wstring& folder) {
  return normaliseRoot(withoutLiteralPrefix(resolvedPath(folder)));
}

void noteDuringInstallation() {
  const KernelHandle installing(OpenMutexW(SYNCHRONIZE, FALSE, kInstallerMutex));
  if (!installing.valid() && GetLastError() != ERROR_ACCESS_DENIED) return; // no such mutex
  const std::wstring record = agentRecord(processAccount(GetCurrentProcess()), GetCommandLineW());
  const std::wstring folder = installationFolder(parentOf(programPath()));
  const ListLock lock;
  // Not before the lock is held: a list written while waiting would seem to be of the future.
  const std::uint64_t now = fileTimeNow();
  HandOvers lists = readHandOvers();
  HandOver own = withAgent(listOf(lists, folder, now), record, now);
  own.folder = folder;
  writeHandOvers(withList(std::move(lists), std::move(own), now));
}

} // namespace vorda
