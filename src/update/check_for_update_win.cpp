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

constexpr int kResolveMs = 10'000;
constexpr int kConnectMs = 10'000;
constexpr int kSendMs = 10'000;
constexpr int kReceiveMs = 15'000; // for each read
constexpr std::size_t kChunkBytes = 8'192;

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
  // A redirect could lead to a host that the maker does not control.
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

// Reads up to kMaxAnswerBytes. False if the connection broke or the deadline passed.
bool readBody(HINTERNET request, Clock::time_point deadline, std::string& body) {
  while (body.size() < kMaxAnswerBytes) {
    const std::size_t before = body.size();
    body.resize(std::min(before + kChunkBytes, kMaxAnswerBytes));
    DWORD count = 0;
    if (WinHttpReadData(request, body.data() + before, static_cast<DWORD>(body.size() - before),
                        &count) == FALSE) {
      return false;
    }
    body.resize(before + count);
    // WinHTTP may report a broken connection as the end of the body.
    if (count == 0) {
      return body.size() >= headNumber(request, WINHTTP_QUERY_CONTENT_LENGTH).value_or(0);
    }
    if (Clock::now() >= deadline) return false;
  }
  return true;
}

UpdateAnswer ask(const UpdateServer& server, const std::wstring& currentVersion) {
  const Clock::time_point deadline = Clock::now() + server.timeLimit;
  const InternetHandle session = openSession(currentVersion);
  if (!session.valid() ||
      WinHttpSetTimeouts(session.get(), kResolveMs, kConnectMs, kSendMs, kReceiveMs) == FALSE) {
    return updateOffline();
  }
  const InternetHandle connection(
      WinHttpConnect(session.get(), server.host.c_str(), server.port, 0));
  if (!connection.valid()) return updateOffline();
  const InternetHandle request(WinHttpOpenRequest(connection.get(), L"GET", kUpdateTarget, nullptr,
                                                  WINHTTP_NO_REFERER, WINHTTP_DEFAULT_ACCEPT_TYPES,
                                                  WINHTTP_FLAG_SECURE));
  if (!request.valid() || !sendRequest(request.get())) return updateOffline();
  const std::optional<DWORD> status = headNumber(request.get(), WINHTTP_QUERY_STATUS_CODE);
  if (!status) return updateOffline();
  std::string body;
  if (status == HTTP_STATUS_OK && !readBody(request.get(), deadline, body)) return updateOffline();
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
  // WinHTTP has no time-out for finding a proxy or for a head that trickles in. So a thread
  // asks, and is left to finish alone if it takes too long. Otherwise wait for its very end: a
  // process that exits while one of its threads is just ending may crash.
  const auto check = std::make_shared<Check>(Check{server, currentVersion, {}});
  auto held = std::make_unique<std::shared_ptr<Check>>(check);
  const KernelHandle thread(
      reinterpret_cast<HANDLE>(_beginthreadex(nullptr, 0, runCheck, held.get(), 0, nullptr)));
  if (!thread.valid()) return updateOffline();
  held.release(); // NOLINT(bugprone-unused-return-value): the thread owns it
  const auto limit = static_cast<DWORD>(server.timeLimit.count());
  return WaitForSingleObject(thread.get(), limit) == WAIT_OBJECT_0 ? check->answer
                                                                   : updateOffline();
}

} // namespace vorda
