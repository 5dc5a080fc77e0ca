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
  bool send(std::string_view bytes, std::chrono::milliseconds) override {
    sent.append(bytes);
    return true;
  }
  void endSending() override {}
  std::string sent;

private:
  std::string_view bytes_;
  std::size_t next_;
};

std::string served(std::string_view bytes, std::size_t split) {
  Pieces stream(bytes, split);
  vorda::ConnectionTable connections;
  const auto echo = [](const vorda::HttpRequest& request) {
    if (request.path.find('?') != std::string::npos) std::abort();
    if (request.method.find(' ') != std::string::npos) std::abort();
    std::string told = request.method + " " + request.path + " " + request.body;
    for (const char* name : {"host", "origin", "x-vorda-token"}) {
      const auto value = request.header(name);
      if (!value && request.headers.contradicts(name)) std::abort();
      told.append(value.value_or("none"));
    }
    return vorda::answer(200, told + request.queryValue("token").value_or("none"));
  };
  vorda::serveConnection(stream, {{}, echo}, *connections.enter(1));
  if (connections.heldBytes() != 0) std::abort();
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
