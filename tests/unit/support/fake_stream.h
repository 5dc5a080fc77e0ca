// A client made of pieces that arrive one after the other in made-up time.
#pragma once

#include "http/connection.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <string>
#include <vector>

namespace vorda {

struct FakeClient {
  using TimePoint = Connection::TimePoint;

  std::vector<std::string> pieces{}; // then the stream ends, unless it is silent
  bool silent = false;
  std::chrono::milliseconds perPiece{0}; // how long each takes to arrive, and the end
  std::size_t reads = std::numeric_limits<std::size_t>::max(); // so many bytes each perRead
  std::chrono::milliseconds perRead{0};

  TimePoint now{};
  std::string sent{};
  bool ended = false;
  bool closed = false;

  TimePoint arrivesAt() const {
    return silent && at == pieces.size() ? TimePoint::max() : arrived + perPiece;
  }
  std::size_t unread() const {
    std::size_t bytes = 0;
    for (std::size_t i = at; i < pieces.size(); ++i) bytes += pieces[i].size();
    return bytes - taken;
  }

  std::size_t at = 0;    // in pieces
  std::size_t taken = 0; // of that piece
  TimePoint arrived{};   // the one before it
  TimePoint readAt{};    // when there is space for what is sent
};

class FakeStream final : public ByteStream {
public:
  explicit FakeStream(FakeClient& client) : client_(client) {}
  FakeStream(const FakeStream&) = delete;
  FakeStream& operator=(const FakeStream&) = delete;
  ~FakeStream() override { client_.closed = true; }

  std::optional<std::size_t> receive(char* buffer, std::size_t size) override {
    if (client_.taken == 0 && client_.now < client_.arrivesAt()) return std::nullopt;
    if (client_.at == client_.pieces.size()) return 0;
    const std::string& piece = client_.pieces[client_.at];
    const std::size_t count = piece.copy(buffer, size, client_.taken);
    client_.taken += count;
    if (client_.taken == piece.size()) {
      ++client_.at;
      client_.taken = 0;
      client_.arrived = client_.now;
    }
    return count;
  }
  std::optional<std::size_t> send(std::string_view bytes) override {
    if (client_.now < client_.readAt) return std::nullopt;
    bytes = bytes.substr(0, client_.reads);
    client_.sent += bytes;
    client_.readAt = client_.now + client_.perRead;
    return bytes.size();
  }
  void endSending() override { client_.ended = true; }

private:
  FakeClient& client_;
};

// Serves the client to the end, as a thread would that waits for what the connection needs.
inline std::string serve(FakeClient& client, const RequestGate& gate,
                         std::unique_ptr<ConnectionSeat> seat) {
  Connection connection(std::make_unique<FakeStream>(client), gate, std::move(seat), client.now);
  using Need = Connection::Need;
  for (Need need = connection.advance(client.now); need != Need::over;
       need = connection.advance(client.now)) {
    if (need == Need::thread) {
      connection.compute(client.now);
      continue;
    }
    const auto comes = need == Need::bytes   ? client.arrivesAt()
                       : need == Need::space ? client.readAt
                                             : client.now;
    client.now = std::max(client.now, std::min(comes, connection.deadline()));
  }
  return client.sent;
}

} // namespace vorda
