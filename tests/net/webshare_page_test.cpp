// The page's rules on texts the scenarios cannot easily reach: the Host arithmetic at its
// edges, the date's padding and the template's field reading.

#include "net/webshare_page.h"

#include <gtest/gtest.h>

namespace zr {
namespace {

TEST(WebSharePage, TheHostIsCountedFromHostColonToTheNextCarriageReturn) {
  EXPECT_EQ(HostOf("GET / HTTP/1.1\r\nHost: cam.local:8080\r\n\r\n"), "cam.local:8080");
  // Two blanks keep one; a tab counts as the blank.
  EXPECT_EQ(HostOf("GET / HTTP/1.1\r\nHost:  cam\r\n\r\n"), " cam");
  EXPECT_EQ(HostOf("GET / HTTP/1.1\r\nHost:\tcam\r\n"), "cam");
  // The name runs to the carriage return, not to a bare line feed.
  EXPECT_EQ(HostOf("GET / HTTP/1.1\nHost: a\nX: b\r\n"), "a\nX: b");
  // Without "Host:" the count starts at the sixth character of the request.
  EXPECT_EQ(HostOf("GET /live HTTP/1.1\r\n\r\n"), "live HTTP/1.1");
  // Counts that come out negative or run past the end leave the name empty.
  EXPECT_EQ(HostOf("GET / HTTP/1.1\r\nHost: cam"), "");
  EXPECT_EQ(HostOf("Host:\r\n"), "");
  EXPECT_EQ(HostOf("GET\r\n"), "");
  EXPECT_EQ(HostOf("Host: \r\n"), "");
  // Only the first "Host:" counts, case-sensitively.
  EXPECT_EQ(HostOf("host: a\r\nHost: b\r\nHost: c\r\n"), "b");
}

TEST(WebSharePage, OnlyTheExactRootRequestIsThePage) {
  EXPECT_TRUE(IsPageRequest("junk GET / HTTP junk"));
  EXPECT_FALSE(IsPageRequest("GET /?x HTTP/1.1\r\n\r\n"));
  EXPECT_FALSE(IsPageRequest("GET  / HTTP/1.1\r\n\r\n"));
  EXPECT_FALSE(IsPageRequest("get / http/1.1\r\n\r\n"));
  EXPECT_FALSE(IsPageRequest(""));
}

TEST(WebSharePage, TheDateIsMonthDayYearWithLeadingZeros) {
  EXPECT_NE(PageHeader(DateTime{2027, 1, 2, 23, 59, 59}).find("\r\nDate: 01-02-2027\r\n"), std::string::npos);
  EXPECT_NE(PageHeader(DateTime{812, 12, 31, 0, 0, 0}).find("\r\nDate: 12-31-0812\r\n"), std::string::npos);
}

TEST(WebSharePage, TheTemplateIsReadFieldByFieldAndEveryPlaceholderFilled) {
  // Commas and line ends of every kind end fields; leading blanks and tabs go, trailing stay.
  EXPECT_EQ(FilledTemplate("a, b ,c\r\n  d\n\te\rf", "#"), "ab cdef");
  // A quoted field keeps its commas and line ends, loses its quotes and what follows them.
  EXPECT_EQ(FilledTemplate("  \"x, y\r\nz\" tail, w\r\n", "#"), "x, y\r\nzw");
  // A quote that is not first is plain text; an unclosed quote runs to the end.
  EXPECT_EQ(FilledTemplate("<a href=\"p\">,\"open, end", "#"), "<a href=\"p\">open, end");
  // A placeholder may also be formed by joining fields.
  EXPECT_EQ(FilledTemplate("<%web,share%>|<%webshare%><%webshare%>", "F"), "F|FF");
  EXPECT_EQ(FilledTemplate("", "F"), "");
  EXPECT_EQ(FilledTemplate("<%WEBSHARE%>", "F"), "<%WEBSHARE%>");
}

}  // namespace
}  // namespace zr
