// The receive buffer of one incomplete request. All it allocates is told to the connection's seat
// first. It may hold a password, so its memory is wiped.
#pragma once

#include "http/connection_table.h"

#include <cstddef>
#include <string>
#include <string_view>

namespace vorda {

class HeldBuffer {
public:
  using Room = ConnectionSeat::Room;

  // The seat must outlive the buffer.
  explicit HeldBuffer(ConnectionSeat& seat) : seat_(seat) {}
  HeldBuffer(const HeldBuffer&) = delete;
  HeldBuffer& operator=(const HeldBuffer&) = delete;
  ~HeldBuffer();

  // Appends a piece, unless more than `most` bytes would be held. `expected` is how many there will
  // be, as far as is known. "later": the piece is kept aside, and appendKept() tries again.
  Room append(std::string_view piece, std::size_t most, std::size_t expected);
  Room appendKept(std::size_t most, std::size_t expected);
  bool keepsPiece() const { return !kept_.empty(); }

  std::string_view bytes() const { return bytes_; }
  std::string take() { return std::move(bytes_); }

  // Whether there is room for a copy of so many bytes beside the buffer. May wait for a second.
  bool roomFor(std::size_t copied) { return seat_.hold(bytes_.capacity() + copied); }
  // Drops what lies before the start of the body. Until then `copied` further bytes are held.
  bool keepFrom(std::size_t start, std::size_t copied);
  void drop();

private:
  Room grow(std::size_t size, std::size_t expected);

  ConnectionSeat& seat_;
  std::size_t other_ = 0; // of the request, outside the buffer
  std::string bytes_;
  std::string kept_; // received, and there was no room yet
};

} // namespace vorda
