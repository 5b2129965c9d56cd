#include "platform/picture_server.h"

#include "base/formatting.h"
#include "platform/regular_file.h"

namespace zr::platform {

namespace {

std::string ContentTypeOf(const std::string& path) {
  const auto dot = path.find_last_of("./");
  const std::string extension = dot == std::string::npos || path[dot] != '.' ? "" : LowerCase(path.substr(dot + 1));
  if (extension == "jpg" || extension == "jpeg") return "image/jpeg";
  if (extension == "html" || extension == "htm") return "text/html";
  return "application/octet-stream";
}

std::string Head(const std::string& status, const std::string& type, std::size_t length) {
  return "HTTP/1.1 " + status + "\r\nContent-Type: " + type + "\r\nContent-Length: " + std::to_string(length) +
         "\r\nCache-Control: no-store\r\nConnection: close\r\n\r\n";
}

}  // namespace

std::string FileResponse(const std::string& path) {
  const SmallFile file = ReadSmallFile(path, kLargestServedFileBytes);
  if (!file.IsRead()) {
    static const std::string kMissing = "No picture\r\n";
    return Head("404 Not Found", "text/plain", kMissing.size()) + kMissing;
  }
  return Head("200 OK", ContentTypeOf(path), file.text.size()) + file.text;
}

}  // namespace zr::platform
