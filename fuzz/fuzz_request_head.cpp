// Input: a request. It must be parsed the same whether it arrives whole or in two pieces.
#include "http/connection.h"
#include "http/message_parser.h"

#include <cstdint>
#include <cstdlib>

namespace {

class Pieces final : public vorda::ByteStream {
public:
  Pieces(std::string_view bytes, std::size_t first) : bytes_(bytes), next_(first) {}
  std::size_t receive(char* buffer, std::size_t size, std::chrono::milliseconds) override {
    const std::size_t count = bytes_.substr(0, next_).copy(buffer, size);
    bytes_.remove_prefix(count);
    next_ = bytes_.size();
    return count;
  }
  bool send(std::string_view bytes) override {
    sent.append(bytes);
    return true;
  }
  std::string sent;

private:
  std::string_view bytes_;
  std::size_t next_;
};

std::string served(std::string_view bytes, std::size_t split) {
  Pieces stream(bytes, split);
  std::atomic<std::uint64_t> held{0};
  const auto echo = [](const vorda::HttpRequest& request) {
    for (const auto& [name, value] : request.headers) {
      if (name.find('\r') == 0 && name.find("\r\n") != std::string::npos) std::abort();
      for (const char c : name) {
        if (c >= 'A' && c <= 'Z') std::abort();
      }
    }
    if (request.path.find('?') != std::string::npos) std::abort();
    if (request.method.find(' ') != std::string::npos) std::abort();
    return vorda::answer(200, request.method + " " + request.path);
  };
  vorda::serveConnection(stream, echo, held);
  if (held != 0) std::abort();
  return stream.sent;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::size_t split = 1 + data[0] % bytes.size();
  if (served(bytes, bytes.size()) != served(bytes, split)) std::abort();
  return 0;
}
