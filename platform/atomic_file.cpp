#include "platform/atomic_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>

namespace zr::platform {

namespace {

Error SystemError(const std::string& what, const std::string& path) {
  return Error{std::strerror(errno), what + " \"" + path + "\""};
}

std::string FolderOf(const std::string& path) {
  const auto slash = path.rfind('/');
  if (slash == std::string::npos) return "";
  return path.substr(0, slash + 1);
}

std::string NameOf(const std::string& path) {
  const auto slash = path.rfind('/');
  return slash == std::string::npos ? path : path.substr(slash + 1);
}

mode_t ModeFor(const std::string& path, NewFileMode mode) {
  if (mode == NewFileMode::Private) return 0600;
  struct stat existing {};
  if (::stat(path.c_str(), &existing) == 0) return existing.st_mode & 07777;
  const mode_t mask = ::umask(0);
  ::umask(mask);
  return 0666 & ~mask;
}

Result<void> WriteAll(int fd, const std::string& text, const std::string& path) {
  std::size_t done = 0;
  while (done < text.size()) {
    const ssize_t wrote = ::write(fd, text.data() + done, text.size() - done);
    if (wrote < 0 && errno != EINTR) return SystemError("writing", path);
    if (wrote > 0) done += static_cast<std::size_t>(wrote);
  }
  return {};
}

// The mode is set by hand, so no umask widens or narrows it.
Result<void> FillAndClose(int fd, const std::string& text, const std::string& path, mode_t mode) {
  Result<void> result;
  if (::fchmod(fd, mode) != 0) result = SystemError("setting the mode of", path);
  if (result) result = WriteAll(fd, text, path);
  if (result && ::fsync(fd) != 0) result = SystemError("syncing", path);
  if (::close(fd) != 0 && result) result = SystemError("closing", path);
  return result;
}

}  // namespace

Result<void> ReplaceFileAtomically(const std::string& path, const std::string& text, NewFileMode mode) {
  std::string temporary = FolderOf(path) + "." + NameOf(path) + ".XXXXXX";
  const int fd = ::mkostemp(temporary.data(), O_CLOEXEC);
  if (fd < 0) return SystemError("creating a temporary file for", path);
  Result<void> result = FillAndClose(fd, text, temporary, ModeFor(path, mode));
  if (result && ::rename(temporary.c_str(), path.c_str()) != 0)
    result = SystemError("renaming " + temporary + " to", path);
  if (!result) ::unlink(temporary.c_str());
  return result;
}

}  // namespace zr::platform
