// The bytes of a request's head to values, and an answer's head to bytes.
#pragma once

#include "http/message.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

// Limits of what is read from a connection.
inline constexpr std::size_t kReceivePiece = 16'384;      // bytes per receive
inline constexpr std::size_t kMaxHeadBuffer = 8'388'608;  // bytes until the head is complete
inline constexpr std::size_t kMaxHeldBytes = 268'435'456; // waiting in the whole process

struct ParsedHead {
  HttpRequest request; // without the body
  std::uint64_t contentLength = 0;
};

// The head is everything before the first blank line. Nothing when the request line has
// no blank. Lines without ":" are skipped; the protocol version is not looked at.
std::optional<ParsedHead> parseHead(std::string_view head);

// Splits a target at its first "?" into path and decoded query.
void parseTarget(std::string_view target, HttpRequest& request);

// The status line and the headers, up to and including the blank line.
std::string responseHead(const HttpResponse& response);

} // namespace vorda
