#include "http/message_parser.h"

#include <algorithm>
#include <limits>

namespace vorda {

namespace {

constexpr std::string_view kLineEnd = "\r\n";

// Parses like strtoull: skips leading white space, accepts a sign, stops at the first
// non-digit, and saturates on overflow.
std::uint64_t readLength(std::string_view text) {
  constexpr std::uint64_t kMost = std::numeric_limits<std::uint64_t>::max();
  std::size_t at = std::min(text.find_first_not_of(" \t\n\v\f\r"), text.size());
  const bool negative = at < text.size() && text[at] == '-';
  if (at < text.size() && (negative || text[at] == '+')) ++at;
  std::uint64_t value = 0;
  for (; at < text.size() && text[at] >= '0' && text[at] <= '9'; ++at) {
    const auto digit = static_cast<std::uint64_t>(text[at] - '0');
    if (value > (kMost - digit) / 10) return kMost;
    value = value * 10 + digit;
  }
  return negative ? 0 - value : value;
}

const char* reasonOf(int status) {
  switch (status) {
  case 200: return "OK";
  case 400: return "Bad Request";
  case 401: return "Unauthorized";
  case 404: return "Not Found";
  default: return "Internal Server Error";
  }
}

} // namespace

std::string_view takeLine(std::string_view& text) {
  const std::size_t end = text.find(kLineEnd);
  const std::string_view line = text.substr(0, end);
  text.remove_prefix(end == std::string_view::npos ? text.size() : end + kLineEnd.size());
  return line;
}

void parseTarget(std::string_view target, HttpRequest& request) {
  const std::size_t mark = target.find('?');
  request.path = target.substr(0, mark);
  if (mark != std::string_view::npos) request.query = target.substr(mark + 1);
}

std::optional<ParsedHead> parseHead(std::string_view head) {
  const std::string_view requestLine = takeLine(head);
  const std::size_t space = requestLine.find(' ');
  if (space == std::string_view::npos) return std::nullopt;
  ParsedHead parsed;
  parsed.request.method = requestLine.substr(0, space);
  const std::string_view rest = requestLine.substr(space + 1);
  parseTarget(rest.substr(0, rest.find(' ')), parsed.request);
  parsed.request.headers = HeaderFields(std::string(head));
  parsed.contentLength = readLength(parsed.request.header("content-length").value_or(""));
  return parsed;
}

constexpr const char* kGuards = "X-Content-Type-Options: nosniff\r\n"
                                "Cross-Origin-Resource-Policy: same-origin\r\n"
                                "Content-Security-Policy: default-src 'none'; sandbox\r\n";

std::string responseHead(const HttpResponse& response) {
  return "HTTP/1.1 " + std::to_string(response.status) + " " + reasonOf(response.status) +
         "\r\nContent-Type: " + std::string(response.contentType) +
         "\r\nContent-Length: " + std::to_string(response.payload().size()) +
         "\r\nCache-Control: no-store\r\nConnection: close\r\n" +
         (response.guarded ? kGuards : "") + "\r\n";
}

} // namespace vorda
