#include "update/check_for_update_win.h"

#include "win/handles.h"

#include <windows.h>

#include <process.h>
#include <winhttp.h>

#include <algorithm>
#include <memory>
#include <optional>

namespace vorda {

namespace {

using Clock = std::chrono::steady_clock;

constexpr const wchar_t* kTarget = L"/wp-json/wp/v2/bx_tool?slug=vorda&_fields=meta.bx_version";
constexpr int kResolveMs = 10'000;
constexpr int kConnectMs = 10'000;
constexpr int kSendMs = 10'000;
constexpr int kReceiveMs = 15'000; // for each piece
constexpr std::size_t kPieceBytes = 8'192;

using InternetHandle = Owned<HINTERNET, WinHttpCloseHandle>;

InternetHandle openSession(const std::wstring& currentVersion) {
  const std::wstring client = L"Vorda/" + (currentVersion.empty() ? L"0" : currentVersion);
  constexpr DWORD kProxies[] = {WINHTTP_ACCESS_TYPE_AUTOMATIC_PROXY,
                                WINHTTP_ACCESS_TYPE_DEFAULT_PROXY};
  for (const DWORD proxy : kProxies) {
    InternetHandle session(
        WinHttpOpen(client.c_str(), proxy, WINHTTP_NO_PROXY_NAME, WINHTTP_NO_PROXY_BYPASS, 0));
    if (session.valid()) return session;
  }
  return InternetHandle();
}

bool sendRequest(HINTERNET request) {
  // A redirect could lead to another host, where the certificate proves nothing.
  DWORD without = WINHTTP_DISABLE_REDIRECTS | WINHTTP_DISABLE_COOKIES;
  return WinHttpSetOption(request, WINHTTP_OPTION_DISABLE_FEATURE, &without, sizeof without) !=
             FALSE &&
         WinHttpSendRequest(request, WINHTTP_NO_ADDITIONAL_HEADERS, 0, WINHTTP_NO_REQUEST_DATA, 0,
                            0, 0) != FALSE &&
         WinHttpReceiveResponse(request, nullptr) != FALSE;
}

std::optional<DWORD> headNumber(HINTERNET request, DWORD which) {
  DWORD number = 0;
  DWORD size = sizeof number;
  if (WinHttpQueryHeaders(request, which | WINHTTP_QUERY_FLAG_NUMBER, WINHTTP_HEADER_NAME_BY_INDEX,
                          &number, &size, WINHTTP_NO_HEADER_INDEX) == FALSE) {
    return std::nullopt;
  }
  return number;
}

// Up to so many bytes of the body; false when it broke off or took too long.
bool readBody(HINTERNET request, Clock::time_point end, std::string& body) {
  while (body.size() < kMostAnswerBytes) {
    const std::size_t before = body.size();
    body.resize(std::min(before + kPieceBytes, kMostAnswerBytes));
    DWORD count = 0;
    if (WinHttpReadData(request, body.data() + before, static_cast<DWORD>(body.size() - before),
                        &count) == FALSE) {
      return false;
    }
    body.resize(before + count);
    // A connection that broke off may read like one that came to its end.
    if (count == 0) {
      return body.size() >= headNumber(request, WINHTTP_QUERY_CONTENT_LENGTH).value_or(0);
    }
    if (Clock::now() >= end) return false;
  }
  return true;
}

UpdateAnswer ask(const UpdateServer& server, const std::wstring& currentVersion) {
  const Clock::time_point end = Clock::now() + server.longest;
  const InternetHandle session = openSession(currentVersion);
  if (!session.valid() ||
      WinHttpSetTimeouts(session.get(), kResolveMs, kConnectMs, kSendMs, kReceiveMs) == FALSE) {
    return updateOffline();
  }
  const InternetHandle connection(
      WinHttpConnect(session.get(), server.host.c_str(), server.port, 0));
  if (!connection.valid()) return updateOffline();
  const InternetHandle request(WinHttpOpenRequest(connection.get(), L"GET", kTarget, nullptr,
                                                  WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                  WINHTTP_FLAG_SECURE));
  if (!request.valid() || !sendRequest(request.get())) return updateOffline();
  const std::optional<DWORD> status = headNumber(request.get(), WINHTTP_QUERY_STATUS_CODE);
  if (!status) return updateOffline();
  std::string body;
  if (status == HTTP_STATUS_OK && !readBody(request.get(), end, body)) return updateOffline();
  return readUpdateAnswer(*status, body);
}

struct Check {
  UpdateServer server;
  std::wstring currentVersion;
  UpdateAnswer answer;
};

unsigned __stdcall runCheck(void* argument) {
  const std::unique_ptr<std::shared_ptr<Check>> held(
      static_cast<std::shared_ptr<Check>*>(argument));
  Check& check = **held;
  try {
    check.answer = ask(check.server, check.currentVersion);
  } catch (...) {
    check.answer = updateOffline();
  }
  return 0;
}

} // namespace

UpdateAnswer checkForUpdate(const UpdateServer& server, const std::wstring& currentVersion) {
  // Finding a proxy and drops of a head have no time-out of their own. So the caller waits
  // only so long for a thread that then ends by itself, seen by nobody. In all other cases
  // it waits for the thread's very end: a process that ends together with it may crash.
  const auto check = std::make_shared<Check>(Check{server, currentVersion, {}});
  auto held = std::make_unique<std::shared_ptr<Check>>(check);
  const KernelHandle thread(
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, runCheck, held.get(), 0, nullptr)));
  if (!thread.valid()) return updateOffline();
  held.release(); // NOLINT(bugprone-unused-return-value): the thread owns it now
  const auto longest = static_cast<DWORD>(server.longest.count());
  return WaitForSingleObject(thread.get(), longest) == WAIT_OBJECT_0 ? check->answer
                                                                     : updateOffline();
}

} // namespace vorda
