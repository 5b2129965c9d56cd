#include "net/webshare_page.h"

#include <cstdio>

#include "base/delimited_input.h"

namespace zr {

namespace {
constexpr std::string_view kCrLf = "\r\n";
}

bool IsPageRequest(std::string_view request) { return request.find("GET / HTTP") != std::string_view::npos; }

std::string HostOf(std::string_view request) {
  // Positions count from 1, 0 for "not found", as the arithmetic was written.
  const std::size_t host_at = request.find("Host:");
  const std::size_t p = host_at == std::string_view::npos ? 0 : host_at + 1;
  const std::size_t cr_at = request.find('\r', p);  // from position p + 1
  if (cr_at == std::string_view::npos) return "";
  const std::size_t c = cr_at + 1;
  if (c < p + 6) return "";
  const std::size_t start = p + 5;  // position p + 6, from 0
  if (start >= request.size()) return "";
  return std::string(request.substr(start, c - (p + 6)));
}

std::string PageHeader(const DateTime& today) {
  char date[16];
  std::snprintf(date, sizeof date, "%02d-%02d-%04d", today.month % 100, today.day % 100, today.year % 10000);
  const std::string lines[] = {"HTTP/1.1 200 OK",
                               "Server: Video Zandrell",
                               std::string("Date: ") + date,
                               "Status: 200 OK",
                               "Content-Type: text/html",
                               "Connection: close",
                               ""};
  std::string header;
  for (const std::string& line : lines) header.append(line).append(kCrLf);
  return header;
}

std::string WebShareFragment(std::string_view host, std::string_view site) {
  const std::string address = "http://" + std::string(host) + "/live";
  const std::string lines[] = {
      R"(<SCRIPT LANGUAGE="Javascript"><!--)",
      "function reloadCam()",
      "{reload = new Date();",
      R"(reload = "?"+reload.getTime();)",
      R"(document.images["webcambuild"].src = ")" + address + R"("+reload;)",
      "window.status = 'Powered by: Video Zandrell (" + std::string(site) + ")'}",
      "//--></SCRIPT>",
      R"(<IMG NAME="webcambuild" SRC=")" + address +
          R"zr("ALT="Live Image..." BORDER=0" onLoad="reloadCam()"></center>)zr",
      R"(<SCRIPT LANGUAGE="Javascript">)",
      "<!--",
      "reloadCam();",
      "//--></SCRIPT>",
  };
  std::string fragment;
  for (const std::string& line : lines) fragment.append(line).append(kCrLf);
  return fragment;
}

std::string FilledTemplate(std::string_view template_text, std::string_view fragment) {
  std::string joined;
  DelimitedInput input(template_text);
  while (const auto field = input.Next()) joined.append(*field);
  const std::string_view placeholder = kWebSharePlaceholder;
  std::string filled;
  std::size_t from = 0;
  for (std::size_t at = joined.find(placeholder); at != std::string::npos; at = joined.find(placeholder, from)) {
    filled.append(joined, from, at - from).append(fragment);
    from = at + placeholder.size();
  }
  filled.append(joined, from);
  return filled;
}

std::string PageResponse(std::string_view request, std::string_view template_text, const DateTime& today,
                         std::string_view site) {
  return PageHeader(today) + FilledTemplate(template_text, WebShareFragment(HostOf(request), site));
}

}  // namespace zr
