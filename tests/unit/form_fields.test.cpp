#include "http/form_fields.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("form fields: decoding, order and repeated keys") {
  const FormFields fields("a=1&a=2&b&=x&p=C%3A%5Ca+b%2&q=%zz%E9=&%61%=y");
  CHECK(fields.get("a") == "1");
  CHECK(fields.get("b").empty());
  CHECK(fields.get("") == "x");
  CHECK(fields.get("p") == "C:\\a b%2");
  CHECK(fields.get("q") == "%zz\xE9=");
  CHECK(fields.get("a%") == "y");
  CHECK(fields.pairs().size() == 7);
  CHECK(fields.pairs()[1].second == "2");
}
