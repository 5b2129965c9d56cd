#include "platform/atomic_file.h"

#include <fcntl.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cerrno>
#include <cstring>
#include <fstream>
#include <string>

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

// The process's umask, read without changing it: setting it to read it back would change it for
// every thread of the process in between. Where the system does not tell, the usual 022.
mode_t CurrentUmask() {
  std::ifstream status("/proc/self/status");
  std::string line;
  while (std::getline(status, line))
    if (line.rfind("Umask:", 0) == 0) return static_cast<mode_t>(std::stoul(line.substr(6), nullptr, 8));
  return 022;
}

mode_t ModeFor(const std::string& path, NewFileMode mode) {
  if (mode == NewFileMode::Private) return 0600;
  struct stat existing {};
  if (::stat(path.c_str(), &existing) == 0) return existing.st_mode & 07777;
  return 0666 & ~CurrentUmask();
}

// The rename is only lasting once the folder that holds the name is on the disk too.
void SyncFolderOf(const std::string& path) {
  const std::string folder = FolderOf(path);
  const int fd = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (fd < 0) return;
  (void)::fsync(fd);
  ::close(fd);
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
  if (!result) {
    ::unlink(temporary.c_str());
    return result;
  }
  SyncFolderOf(path);
  return result;
}

}  // namespace zr::platform
