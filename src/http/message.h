// HTTP requests and responses as values.
#pragma once

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>

namespace vorda {

using TextMap = std::unordered_map<std::string, std::string>;

struct HttpRequest {
  std::string method; // as sent
  std::string path;   // the target up to the first "?", not percent-decoded
  std::string body;
  TextMap query;   // decoded; the last of equal keys wins
  TextMap headers; // names in lower case; the last of equal names wins

  // The value of a query parameter or header, or null when absent.
  const std::string* queryValue(const std::string& key) const { return find(query, key); }
  const std::string* header(const std::string& name) const { return find(headers, name); }

private:
  static const std::string* find(const TextMap& map, const std::string& key) {
    const auto at = map.find(key);
    return at == map.end() ? nullptr : &at->second;
  }
};

inline constexpr const char* kJsonType = "application/json; charset=utf-8";

struct HttpResponse {
  int status = 200;
  std::string contentType = kJsonType;
  // Shared, so that concurrent responses with the same large document do not copy it.
  std::shared_ptr<const std::string> body;

  std::string_view payload() const { return body ? std::string_view(*body) : std::string_view(); }
};

inline HttpResponse answer(int status, std::string body, std::string contentType = kJsonType) {
  return {status, std::move(contentType), std::make_shared<const std::string>(std::move(body))};
}

// {"error":word}; the word is a program constant and is not escaped.
inline HttpResponse errorAnswer(int status, std::string_view word) {
  return answer(status, "{\"error\":\"" + std::string(word) + "\"}");
}

inline HttpResponse okAnswer() { return answer(200, "{\"ok\":true}"); }

} // namespace vorda
