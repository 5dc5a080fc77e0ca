#include "api/request_log.h"

#include "api/routes.h"

#include <algorithm>
#include <chrono>
#include <utility>

namespace vorda {

namespace {

// Only what the program knows is repeated: a client could put a key or a name into a path of its own,
// and does put them behind the question mark.
std::string nameOf(const HttpRequest& request) {
  const auto known = [&request](const Route& route) { return route.path == request.path; };
  const bool page = request.path == "/" || request.path == "/index.html";
  if (!page && std::none_of(routes().begin(), routes().end(), known)) return "unknown path";
  const bool get = request.method == "GET";
  return (get || request.method == "POST" ? request.method : "other method") + " " + request.path;
}

LogLevel levelOf(int status) {
  if (status >= 500) return LogLevel::error;
  return status >= 400 ? LogLevel::warning : LogLevel::info;
}

// What was done has to be answered, even where there is no memory for its line.
template <typename Line> void writeIfPossible(DiagnosticLog& log, int status, Line line) {
  try {
    log.write(levelOf(status), line());
  } catch (...) { // NOLINT(bugprone-empty-catch): only the line is lost
  }
}

} // namespace

RequestGate loggedGate(RequestGate gate, DiagnosticLog& log) {
  return {[admit = std::move(gate.admit), &log](const HttpRequest& request) {
            Admission admission = admit(request);
            if (admission.refusal) {
              const int status = admission.refusal->status;
              writeIfPossible(log, status, [&] {
                return nameOf(request) + " refused, " + std::to_string(status);
              });
            }
            return admission;
          },
          [handle = std::move(gate.handle), &log](HttpRequest& request) {
            const std::string name = nameOf(request); // the handler may take the request apart
            const auto begin = std::chrono::steady_clock::now();
            HttpResponse response = handle(request);
            const auto time = std::chrono::duration_cast<std::chrono::milliseconds>(
                std::chrono::steady_clock::now() - begin);
            writeIfPossible(log, response.status, [&] {
              return name + " " + std::to_string(response.status) + ", " +
                     std::to_string(response.payload().size()) + " bytes, " +
                     std::to_string(time.count()) + " ms";
            });
            return response;
          }};
}

} // namespace vorda
