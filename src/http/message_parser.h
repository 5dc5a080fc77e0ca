// Parses the head of a request and formats the head of a response.
#pragma once

#include "http/message.h"

#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

// Limits on reading from a connection, in bytes.
inline constexpr std::size_t kReceivePiece = 16'384;     // per receive call
inline constexpr std::size_t kMaxHeadBuffer = 8'388'608; // received before the head is complete

struct ParsedHead {
  HttpRequest request; // without the body
  std::uint64_t contentLength = 0;
};

// Parses everything before the first empty line. Fails only when the request line contains
// no space. Lines without ":" are skipped and the protocol version is ignored.
std::optional<ParsedHead> parseHead(std::string_view head);

// Splits a target at its first "?" into path and query.
void parseTarget(std::string_view target, HttpRequest& request);

// Removes the first line from the text and returns it without its line end, CR LF.
std::string_view takeLine(std::string_view& text);

// The status line and headers, including the empty line that ends them.
std::string responseHead(const HttpResponse& response);

} // namespace vorda
