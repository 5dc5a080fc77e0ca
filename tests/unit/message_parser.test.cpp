#include "http/message_parser.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("request heads, with odd and malformed parts") {
  const auto full = parseHead("GET /api/x%20y?a=1&a=2&b&c=a+b%2Fc%zz&=e&%41=%4 HTTP/1.1\r\n"
                              "Host:  \t h \t\r\nno colon\r\nX: 1\r\nx: 2\r\n:empty\r\n"
                              "Content-LENGTH:  12abc");
  REQUIRE(full);
  CHECK(full->request.method == "GET");
  CHECK(full->request.path == "/api/x%20y");
  CHECK(full->request.query == "a=1&a=2&b&c=a+b%2Fc%zz&=e&%41=%4");
  CHECK(full->request.queryValue("A") == "%4");
  CHECK(full->request.header("host") == "h \t");
  CHECK(full->request.header("x") == "2");
  CHECK(full->request.header("") == "empty");
  CHECK(full->request.header("content-length") == "12abc");
  CHECK_FALSE(full->request.header("no colon"));
  CHECK(full->request.headers.contradicts("x"));
  CHECK(HeaderFields("A: 1\r\na: 2\r\nA: 1").contradicts("a"));
  CHECK_FALSE(HeaderFields("A: 1\r\na:1\r\nB: 2\r\nA: 1").contradicts("a"));
  CHECK(full->contentLength == 12);
  CHECK_FALSE(parseHead(""));
  CHECK_FALSE(parseHead("GET\r\nHost: a b"));
  CHECK(parseHead(" /x")->request.method.empty());
  CHECK(parseHead("GET ")->request.path.empty());
  CHECK(parseHead("GET /x")->request.query.empty());
  CHECK_FALSE(parseHead("GET /x?\nHost: y")->request.header("host")); // a bare LF ends no line
  CHECK(parseHead("GET /\rX")->request.path == "/\rX");
  const auto length = [](const std::string& text) {
    return parseHead("GET / H\r\nContent-Length:" + text)->contentLength;
  };
  for (const char* text : {"x", "", "0x10"}) CHECK(length(text) == 0);
  for (const char* text : {"+7", "\v\f7,5"}) CHECK(length(text) == 7);
  CHECK(length("18446744073709551614") == ~0ULL - 1);
  for (const char* text : {"-1", "18446744073709551615", "18446744073709551616"})
    CHECK(length(text) == ~0ULL);
  CHECK(responseHead(errorAnswer(400, "")).starts_with("HTTP/1.1 400 Bad Request\r\n"));
  CHECK(responseHead(errorAnswer(404, "")).starts_with("HTTP/1.1 404 Not Found\r\n"));
}
