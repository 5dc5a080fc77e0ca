#include "win/process_facts.h"

#include "win/full_path.h"
#include "win/handles.h"

#include <sddl.h>
#include <winternl.h>

#include <bit>
#include <optional>
#include <vector>

namespace vorda {

namespace {

template <typename Value> std::optional<Value> readMemory(HANDLE process, const void* at) {
  Value value;
  SIZE_T count = 0;
  if (at == nullptr || ReadProcessMemory(process, at, &value, sizeof value, &count) == FALSE ||
      count != sizeof value) {
    return std::nullopt;
  }
  return value;
}

// Looked up, because the library to link with holds half a C runtime besides.
const PEB* environmentBlock(HANDLE process) {
  using Query = NTSTATUS(NTAPI*)(HANDLE, PROCESSINFOCLASS, void*, ULONG, ULONG*);
  const HMODULE library = GetModuleHandleW(L"ntdll.dll");
  if (library == nullptr) return nullptr;
  const auto query = std::bit_cast<Query>(GetProcAddress(library, "NtQueryInformationProcess"));
  PROCESS_BASIC_INFORMATION facts{};
  if (query == nullptr ||
      query(process, ProcessBasicInformation, &facts, sizeof facts, nullptr) < 0) {
    return nullptr;
  }
  return facts.PebBaseAddress;
}

} // namespace

std::wstring processImage(HANDLE process) {
  std::vector<wchar_t> path(kLongestPath);
  DWORD length = kLongestPath;
  if (QueryFullProcessImageNameW(process, 0, path.data(), &length) == FALSE) return {};
  return {path.data(), length};
}

std::wstring processAccount(HANDLE process) {
  HANDLE opened = nullptr;
  if (OpenProcessToken(process, TOKEN_QUERY, &opened) == FALSE) return {};
  const KernelHandle token(opened);
  alignas(TOKEN_USER) BYTE user[sizeof(TOKEN_USER) + SECURITY_MAX_SID_SIZE];
  DWORD size = 0;
  wchar_t* text = nullptr;
  if (GetTokenInformation(token.get(), TokenUser, user, sizeof user, &size) == FALSE ||
      ConvertSidToStringSidW(reinterpret_cast<const TOKEN_USER*>(user)->User.Sid, &text) == FALSE) {
    return {};
  }
  std::wstring account = text;
  LocalFree(text);
  return account;
}

std::wstring processCommandLine(DWORD processId) {
  const KernelHandle process(
      OpenProcess(PROCESS_QUERY_LIMITED_INFORMATION | PROCESS_VM_READ, FALSE, processId));
  if (!process.valid()) return {};
  const auto block = readMemory<PEB>(process.get(), environmentBlock(process.get()));
  if (!block) return {};
  const auto parameters =
      readMemory<RTL_USER_PROCESS_PARAMETERS>(process.get(), block->ProcessParameters);
  if (!parameters) return {};
  const UNICODE_STRING& line = parameters->CommandLine;
  std::wstring text(line.Length / sizeof(wchar_t), L'\0');
  SIZE_T count = 0;
  if (ReadProcessMemory(process.get(), line.Buffer, text.data(), text.size() * sizeof(wchar_t),
                        &count) == FALSE) {
    return {};
  }
  return text.substr(0, text.find(L'\0'));
}

} // namespace vorda
