#include "http/form_fields.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("form fields: decoding, order and repeated keys") {
  const FormFields fields(
      "a=1&a=2&b&=x&p=C%3A%5Ca+b%2&q=%zz%E9=&%61%=y&h=%0a%fF%/1%:1%@1%`1%g1%1/");
  CHECK(fields.get("a") == "1");
  CHECK(fields.get("b").empty());
  CHECK(fields.get("") == "x");
  CHECK(fields.get("p") == "C:\\a b%2");
  CHECK(fields.get("q") == "%zz\xE9=");
  CHECK(fields.get("a%") == "y");
  CHECK(fields.get("h") == "\n\xFF%/1%:1%@1%`1%g1%1/");
  CHECK(fields.pairs().size() == 8);
  CHECK(fields.pairs()[1].second == "2");
}

TEST_CASE("one field is found without decoding the others; the last of equal keys wins") {
  const std::string_view text = "a=1&%61=2%2&b&=e&c=x=+y&d=%";
  CHECK(lastFieldValue(text, "a") == "2%2");
  CHECK(lastFieldValue(text, "b") == "");
  CHECK(lastFieldValue(text, "") == "e");
  CHECK(lastFieldValue(text, "c") == "x= y");
  CHECK(lastFieldValue(text, "d") == "%");
  CHECK_FALSE(lastFieldValue(text, "A"));
  CHECK_FALSE(lastFieldValue(text, "aa"));
  CHECK_FALSE(lastFieldValue("", "a"));
  CHECK(countFields(text) == 6);
  CHECK(countFields("") == 1);
}
