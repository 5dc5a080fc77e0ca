// What a request asks and what it is answered, as values; no sockets.
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
  TextMap query;   // keys and values decoded; of two equal keys the last
  TextMap headers; // names in lower case; of two equal names the last

  // The value of a query parameter or header, or nothing when it is absent.
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
  // The payload. Shared, so that many readers of one large document hold it once.
  std::shared_ptr<const std::string> body;

  std::string_view payload() const { return body ? std::string_view(*body) : std::string_view(); }
};

inline HttpResponse answer(int status, std::string body, std::string contentType = kJsonType) {
  return {status, std::move(contentType), std::make_shared<const std::string>(std::move(body))};
}

// {"error":word}; the word is a constant of the program and is not escaped.
inline HttpResponse errorAnswer(int status, std::string_view word) {
  return answer(status, "{\"error\":\"" + std::string(word) + "\"}");
}

inline HttpResponse okAnswer() { return answer(200, "{\"ok\":true}"); }

} // namespace vorda
