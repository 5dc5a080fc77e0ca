// The owner of one system handle, which it closes. What the handle is, which value means
// that there is none, and how it is closed, a kind says:
//
//   struct Kind { using Value = …; static Value none(); static void close(Value); };
#pragma once

#include <utility>

namespace vorda {

template <typename Kind> class Owned {
public:
  using Value = typename Kind::Value;

  explicit Owned(Value value = Kind::none()) : value_(value) {}
  Owned(Owned&& other) noexcept : value_(std::exchange(other.value_, Kind::none())) {}
  Owned& operator=(Owned&& other) noexcept {
    reset(std::exchange(other.value_, Kind::none()));
    return *this;
  }
  Owned(const Owned&) = delete;
  Owned& operator=(const Owned&) = delete;
  ~Owned() { reset(); }

  bool valid() const { return value_ != Kind::none(); }
  Value get() const { return value_; }

  void reset(Value value = Kind::none()) {
    const Value old = std::exchange(value_, value);
    if (old != Kind::none()) Kind::close(old);
  }

private:
  Value value_;
};

} // namespace vorda
