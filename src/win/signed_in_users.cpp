#include "win/signed_in_users.h"

#include "win/owned.h"

#include <windows.h>

#include <wtsapi32.h>

#include <algorithm>

namespace vorda {

namespace {

std::wstring sessionText(DWORD session, WTS_INFO_CLASS what) {
  wchar_t* text = nullptr;
  DWORD bytes = 0;
  if (WTSQuerySessionInformationW(WTS_CURRENT_SERVER_HANDLE, session, what, &text, &bytes) ==
          FALSE ||
      text == nullptr) {
    return {};
  }
  const Owned<void*, WTSFreeMemory> owned(text);
  return text;
}

} // namespace

std::vector<std::wstring> signedInUsers() {
  WTS_SESSION_INFOW* sessions = nullptr;
  DWORD count = 0;
  if (WTSEnumerateSessionsW(WTS_CURRENT_SERVER_HANDLE, 0, 1, &sessions, &count) == FALSE) return {};
  const Owned<void*, WTSFreeMemory> owned(sessions);
  std::vector<std::wstring> users;
  for (DWORD i = 0; i < count; ++i) {
    const std::wstring name = sessionText(sessions[i].SessionId, WTSUserName);
    if (name.empty()) continue; // services, or a screen where nobody has signed in
    std::wstring user = sessionText(sessions[i].SessionId, WTSDomainName) + L"\\" + name;
    if (std::find(users.begin(), users.end(), user) == users.end()) {
      users.push_back(std::move(user));
    }
  }
  return users;
}

} // namespace vorda
