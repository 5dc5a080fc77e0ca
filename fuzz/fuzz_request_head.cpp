// Input: a request. It must be parsed the same whether it arrives whole or in two pieces.
#include "http/connection.h"
#include "http/message_parser.h"

#include <cstdint>
#include <cstdlib>
#include <memory>
#include <optional>
#include <string>

namespace {

class Pieces final : public vorda::ByteStream {
public:
  Pieces(std::string_view bytes, std::size_t first, std::string& sent)
      : bytes_(bytes), next_(first), sent_(sent) {}
  std::optional<std::size_t> receive(char* buffer, std::size_t size) override {
    const std::size_t count = bytes_.substr(0, next_).copy(buffer, size);
    bytes_.remove_prefix(count);
    next_ = bytes_.size();
    return count;
  }
  std::optional<std::size_t> send(std::string_view bytes) override {
    sent_.append(bytes);
    return bytes.size();
  }
  void endSending() override {}

private:
  std::string_view bytes_;
  std::size_t next_;
  std::string& sent_;
};

std::string served(std::string_view bytes, std::size_t split) {
  std::string sent;
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
  {
    const vorda::RequestGate gate{{}, echo};
    vorda::Connection connection(std::make_unique<Pieces>(bytes, split, sent), gate,
                                 connections.enter(1), {});
    using Need = vorda::Connection::Need;
    for (Need need = connection.advance({}); need != Need::over; need = connection.advance({})) {
      if (need == Need::thread) connection.compute({});
    }
  }
  if (connections.heldBytes() != 0) std::abort();
  return sent;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size < 2) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data + 1), size - 1);
  const std::size_t split = 1 + data[0] % bytes.size();
  if (served(bytes, bytes.size()) != served(bytes, split)) std::abort();
  return 0;
}
