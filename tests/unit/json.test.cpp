#include "json/json_writer.h"
#include "json/size_text.h"

#include <doctest/doctest.h>

#include <cstdint>
#include <string>

using namespace vorda;

TEST_CASE("commas between values, keys, containers and raw fragments") {
  JsonWriter json;
  json.open('{');
  json.string("a", "x");
  json.number("b", ~0ULL);
  json.open("c", '[');
  json.number(1);
  json.boolean(false);
  json.null();
  json.open('{');
  json.close('}');
  json.close(']');
  json.key("d");
  json.raw("[2]");
  json.seconds(0.000123456);
  json.string("e", ",");
  json.string("f", L"{");
  json.close('}');
  CHECK(json.text() == R"({"a":"x","b":18446744073709551615,"c":[1,false,null,{}],"d":[2],)"
                       R"("seconds":0.0001235,"e":",","f":"{"})");
}

TEST_CASE("strings are escaped byte by byte") {
  JsonWriter json;
  json.string(std::string_view("\t\n\r\"\\\x01\x1F/\x7F\xC3\xA9\xFF\0z", 14));
  CHECK(json.text() == "\"\\t\\n\\r\\\"\\\\\\u0001\\u001f/\x7F\xC3\xA9\xFF\\u0000z\"");
  JsonWriter surrogate;
  surrogate.string(std::wstring(1, wchar_t{0xDC00}));
  CHECK(surrogate.text() == "\"\xEF\xBF\xBD\"");
}

TEST_CASE("sizes at the limits of each unit") {
  std::string texts;
  for (const std::uint64_t bytes : {0ULL, 1'023ULL, 1'536ULL, 1'048'575ULL, 1'048'576ULL,
                                    1'610'612'736ULL, 1'374'389'534'720ULL, ~0ULL}) {
    texts += formatSize(bytes) + "; ";
  }
  CHECK(texts == "0 B; 1023 B; 2 KB; 1024 KB; 1 MB; 1,5 GB; 1,25 TB; 16777216,00 TB; ");
}
