// Text that must not linger in memory, such as a password.
//
// The content is overwritten on destruction, on wipe() and when the buffer is reallocated.
// It can be moved but not copied.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

// Overwrites memory with stores that the compiler may not optimise away.
template <typename Char> void wipeUnits(Char* data, std::size_t count) {
  volatile Char* at = data;
  for (std::size_t i = 0; i < count; ++i) at[i] = Char{};
}

// Overwrites a string, including capacity beyond its current size, and frees its memory: an empty one that
// is assigned to it would only be copied into that.
template <typename Char> void wipeText(std::basic_string<Char>& text) {
  text.resize(text.capacity());
  wipeUnits(text.data(), text.size());
  std::basic_string<Char>().swap(text);
}

// Appends; when the string has to grow, the old buffer is wiped before it is freed.
template <typename Char>
void appendWiping(std::basic_string<Char>& text, std::basic_string_view<Char> more) {
  if (text.capacity() - text.size() < more.size()) {
    std::basic_string<Char> larger;
    larger.reserve(2 * text.size() + more.size());
    larger.append(text);
    text.swap(larger);
    wipeText(larger);
  }
  text.append(more);
}

template <typename Char> class SecretText {
public:
  SecretText() = default;
  explicit SecretText(std::basic_string_view<Char> text) : units_(text.begin(), text.end()) {}
  SecretText(SecretText&& other) noexcept : units_(std::exchange(other.units_, {})) {}
  SecretText& operator=(SecretText&& other) noexcept {
    if (this != &other) {
      wipe();
      units_.swap(other.units_);
    }
    return *this;
  }
  SecretText(const SecretText&) = delete;
  SecretText& operator=(const SecretText&) = delete;
  ~SecretText() { wipe(); }

  void append(std::basic_string_view<Char> more) {
    if (units_.capacity() - units_.size() < more.size()) {
      std::vector<Char> larger;
      larger.reserve(2 * units_.size() + more.size());
      larger.assign(units_.begin(), units_.end());
      units_.swap(larger);
      wipeUnits(larger.data(), larger.size());
    }
    units_.insert(units_.end(), more.begin(), more.end());
  }

  void wipe() {
    wipeUnits(units_.data(), units_.size());
    units_.clear();
  }

  bool empty() const { return units_.empty(); }
  Char* data() { return units_.data(); }
  std::basic_string_view<Char> view() const { return {units_.data(), units_.size()}; }

private:
  std::vector<Char> units_;
};

using Secret = SecretText<char>;
using WideSecret = SecretText<wchar_t>;

} // namespace vorda
