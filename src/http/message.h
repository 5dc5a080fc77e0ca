// HTTP requests and responses as values.
#pragma once

#include "http/form_fields.h"
#include "http/header_fields.h"

#include <cstdint>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vorda {

inline constexpr std::uint32_t kLoopbackAddress = 0x7F000001; // 127.0.0.1

// Whether an IPv4 address, its first byte in the highest bits, is one of 127.0.0.0/8.
constexpr bool isLoopbackAddress(std::uint32_t address) { return address >> 24U == 0x7F; }

struct HttpRequest {
  std::string method; // as sent
  std::string path;   // the target up to the first "?", not percent-decoded
  std::string query;  // what follows it, not decoded either
  std::string body;
  HeaderFields headers;
  std::uint32_t address = kLoopbackAddress; // of the client

  // The decoded value of a query parameter; the last of equal keys wins.
  std::optional<std::string> queryValue(std::string_view key) const {
    return lastFieldValue(query, key);
  }
  // The value of a header; its name is in lower case, and the last of equal names wins.
  std::optional<std::string_view> header(std::string_view name) const { return headers.find(name); }
};

inline constexpr std::string_view kJsonType = "application/json; charset=utf-8";

struct HttpResponse {
  int status = 200;
  std::string_view contentType = kJsonType; // a constant
  // Shared, so that concurrent responses with the same large document do not copy it.
  std::shared_ptr<const std::string> body;
  // Contents of a file: browsers must neither guess another type nor show it in pages of other sites.
  bool guarded = false;

  std::string_view payload() const { return body ? std::string_view(*body) : std::string_view(); }
};

inline HttpResponse answer(int status, std::string body, std::string_view contentType = kJsonType) {
  return {status, contentType, std::make_shared<const std::string>(std::move(body))};
}

// {"error":word}; the word is a program constant and is not escaped.
inline HttpResponse errorAnswer(int status, std::string_view word) {
  return answer(status, "{\"error\":\"" + std::string(word) + "\"}");
}

inline HttpResponse okAnswer() { return answer(200, "{\"ok\":true}"); }

} // namespace vorda
