// Owns a system handle and closes it with kClose. kNone is the numeric value of "no handle".
#pragma once

#include <cstdint>
#include <type_traits>
#include <utility>

namespace vorda {

template <typename Handle, auto kClose, std::intptr_t kNone = 0> class Owned {
public:
  static Handle none() {
    if constexpr (std::is_pointer_v<Handle>) {
      return reinterpret_cast<Handle>(kNone);
    } else {
      return static_cast<Handle>(kNone);
    }
  }

  explicit Owned(Handle handle = none()) : handle_(handle) {}
  Owned(Owned&& other) noexcept : handle_(std::exchange(other.handle_, none())) {}
  Owned& operator=(Owned&& other) noexcept {
    reset(std::exchange(other.handle_, none()));
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { reset(); }

  bool valid() const { return handle_ != none(); }
  Handle get() const { return handle_; }

  void reset(Handle handle = none()) {
    const Handle old = std::exchange(handle_, handle);
    if (old != none()) kClose(old);
  }

private:
  Handle handle_;
};

} // namespace vorda
