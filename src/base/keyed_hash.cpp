#include "base/keyed_hash.h"

#include <bit>
#include <random>

namespace vorda {

namespace {

constexpr std::size_t kWordBytes = 8;
constexpr unsigned kLastRounds = 3;

// Up to 8 bytes, the first one lowest.
std::uint64_t wordOf(std::string_view bytes) {
  std::uint64_t word = 0;
  for (std::size_t i = bytes.size(); i > 0; --i) {
    word = word << 8U | static_cast<unsigned char>(bytes[i - 1]);
  }
  return word;
}

class SipState {
public:
  explicit SipState(const HashKey& key)
      : a_(key.low ^ 0x736f6d6570736575ULL), b_(key.high ^ 0x646f72616e646f6dULL),
        c_(key.low ^ 0x6c7967656e657261ULL), d_(key.high ^ 0x7465646279746573ULL) {}

  void add(std::uint64_t word) {
    d_ ^= word;
    round();
    a_ ^= word;
  }

  std::uint64_t finish() {
    c_ ^= 0xFFU;
    for (unsigned i = 0; i < kLastRounds; ++i) round();
    return a_ ^ b_ ^ c_ ^ d_;
  }

private:
  void round() {
    a_ += b_;
    b_ = std::rotl(b_, 13) ^ a_;
    a_ = std::rotl(a_, 32);
    c_ += d_;
    d_ = std::rotl(d_, 16) ^ c_;
    a_ += d_;
    d_ = std::rotl(d_, 21) ^ a_;
    c_ += b_;
    b_ = std::rotl(b_, 17) ^ c_;
    c_ = std::rotl(c_, 32);
  }

  std::uint64_t a_;
  std::uint64_t b_;
  std::uint64_t c_;
  std::uint64_t d_;
};

HashKey randomKey() {
  std::random_device source;
  const auto next = [&source] { return static_cast<std::uint64_t>(source()) << 32U | source(); };
  const std::uint64_t low = next();
  return {low, next()};
}

const HashKey& processKey() {
  static const HashKey key = randomKey();
  return key;
}

} // namespace

std::uint64_t sipHash(const HashKey& key, std::string_view bytes) {
  const std::uint64_t length = static_cast<std::uint64_t>(bytes.size()) << 56U;
  SipState state(key);
  for (; bytes.size() >= kWordBytes; bytes.remove_prefix(kWordBytes)) {
    state.add(wordOf(bytes.substr(0, kWordBytes)));
  }
  state.add(length | wordOf(bytes));
  return state.finish();
}

std::uint64_t keyedHash(std::string_view bytes) { return sipHash(processKey(), bytes); }

std::uint64_t keyedHash(std::wstring_view text) {
  return keyedHash(
      std::string_view(reinterpret_cast<const char*>(text.data()), text.size() * sizeof(wchar_t)));
}

} // namespace vorda
