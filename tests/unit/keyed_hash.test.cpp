#include "base/keyed_hash.h"

#include <doctest/doctest.h>

#include <string>

using namespace vorda;

TEST_CASE("the keyed hash is SipHash-1-3") {
  std::string rising;
  for (char c = 0; c < 15; ++c) rising.push_back(c);
  // As another implementation gives them.
  CHECK(sipHash({}, "a") == 0x407448d2b89b1813);
  CHECK(sipHash({}, "1234567") == 0xa33d651594fdae81);
  CHECK(sipHash({}, "12345678") == 0x3489982430560a87);
  CHECK(sipHash({}, rising) == 0xf30eb725bb91c9ea);
  CHECK(sipHash({}, std::string(100, 'x')) == 0x12de6d6e12e5750c);
  const HashKey key = {0xdc504fd368cd90af, 0xb920bb9ffe99e9c1};
  CHECK(sipHash(key, rising) == 0x94ace24d68c18cf8);
  CHECK(sipHash(key, "12345678abcdefgh") == 0xdf81ec3070e60b70);
  // A process has one key, and it is none that others know.
  CHECK(keyedHash("a") == keyedHash("a"));
  CHECK(keyedHash("a") != sipHash({}, "a"));
}
