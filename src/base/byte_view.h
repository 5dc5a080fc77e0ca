// A bounds-checked view of untrusted bytes, with little-endian integers.
//
// Nothing outside the view is ever read: an integer that does not fit reads as 0 and a part
// that does not fit is empty. Use holds() to tell these from real data.
#pragma once

#include <bit>
#include <concepts>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace vorda {

class ByteView {
public:
  constexpr ByteView() = default;
  constexpr ByteView(const std::uint8_t* data, std::size_t size) : data_(data), size_(size) {}

  const std::uint8_t* data() const { return data_; }
  std::size_t size() const { return size_; }
  bool empty() const { return size_ == 0; }

  bool holds(std::size_t at, std::size_t count) const { return at <= size_ && count <= size_ - at; }
  ByteView part(std::size_t at, std::size_t count) const {
    return holds(at, count) ? ByteView(data_ + at, count) : ByteView();
  }
  ByteView from(std::size_t at) const { return at <= size_ ? part(at, size_ - at) : ByteView(); }

  std::uint8_t u8(std::size_t at) const { return number<std::uint8_t>(at); }
  std::uint16_t u16(std::size_t at) const { return number<std::uint16_t>(at); }
  std::uint32_t u32(std::size_t at) const { return number<std::uint32_t>(at); }
  std::uint64_t u64(std::size_t at) const { return number<std::uint64_t>(at); }

private:
  template <std::unsigned_integral Number> Number number(std::size_t at) const {
    if (!holds(at, sizeof(Number))) return 0;
    // One load: compilers do not make one of a loop over the bytes.
    static_assert(std::endian::native == std::endian::little);
    Number value = 0;
    std::memcpy(&value, data_ + at, sizeof value);
    return value;
  }

  const std::uint8_t* data_ = nullptr;
  std::size_t size_ = 0;
};

} // namespace vorda
