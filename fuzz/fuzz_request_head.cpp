// Input: a request. It must be parsed the same whether it arrives whole or in two pieces.
#include "http/message_parser.h"
#include "support/fake_stream.h"

#include <cstdint>
#include <cstdlib>

namespace {

std::string served(std::string_view bytes, std::size_t split) {
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
  vorda::FakeClient client;
  client.pieces = {std::string(bytes.substr(0, split)), std::string(bytes.substr(split))};
  std::string sent = vorda::serve(client, {{}, echo}, connections.enter(1));
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
