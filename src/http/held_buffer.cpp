#include "http/held_buffer.h"

#include "base/secret.h"

#include <algorithm>

namespace vorda {

HeldBuffer::~HeldBuffer() {
  wipeText(bytes_);
  wipeText(kept_);
}

HeldBuffer::Room HeldBuffer::append(std::string_view piece, std::size_t most,
                                    std::size_t expected) {
  const std::size_t size = bytes_.size() + piece.size();
  if (size > most) return Room::denied;
  const Room room = grow(size, expected);
  if (room == Room::later) {
    if (piece.data() != kept_.data()) kept_.assign(piece);
  } else if (room == Room::granted) {
    bytes_.append(piece);
  }
  return room;
}

HeldBuffer::Room HeldBuffer::appendKept(std::size_t most, std::size_t expected) {
  const Room room = append(kept_, most, expected);
  if (room != Room::later) wipeText(kept_);
  return room;
}

HeldBuffer::Room HeldBuffer::grow(std::size_t size, std::size_t expected) {
  if (size <= bytes_.capacity()) return Room::granted;
  const std::size_t doubled = std::max(2 * bytes_.capacity(), size);
  // The last step goes to what is announced, not beyond.
  const std::size_t capacity = size <= expected ? std::min(doubled, expected) : doubled;
  const Room room = seat_.tryHold(other_ + bytes_.capacity() + capacity);
  if (room != Room::granted) return room;
  std::string larger;
  larger.reserve(capacity);
  larger.append(bytes_);
  bytes_.swap(larger);
  wipeText(larger);
  return seat_.tryHold(other_ + bytes_.capacity());
}

bool HeldBuffer::keepFrom(std::size_t start, std::size_t copied) {
  const std::size_t rest = bytes_.size() - start;
  if (!seat_.hold(bytes_.capacity() + copied + rest)) return false;
  std::string body = bytes_.substr(start);
  bytes_.swap(body);
  wipeText(body);
  other_ = copied;
  return seat_.hold(other_ + bytes_.capacity());
}

void HeldBuffer::drop() {
  wipeText(bytes_);
  other_ = 0;
}

} // namespace vorda
