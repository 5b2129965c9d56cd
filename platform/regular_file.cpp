#include "platform/regular_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>

namespace zr::platform {

namespace {

constexpr std::size_t kReadPiece = 16 * 1024;

bool IsMissing(int error) { return error == ENOENT || error == ENOTDIR; }

}  // namespace

RegularFile::RegularFile(const std::string& path) {
  if (const auto refused = Open(path)) {
    outcome_ = refused->first;
    reason_ = refused->second;
  }
}

// The name is looked at before it is opened: opening a FIFO waits for a writer, and opening a
// device may do something. The opened file is looked at again, in case the name changed between.
std::optional<std::pair<FileOutcome, std::string>> RegularFile::Open(const std::string& path) {
  const auto by_errno = [] {
    if (IsMissing(errno)) return std::pair{FileOutcome::Missing, std::string("does not exist")};
    return std::pair{FileOutcome::Unreadable, std::string("cannot be read: ") + std::strerror(errno)};
  };
  const std::pair not_a_file{FileOutcome::NotAFile, std::string("is not a regular file")};
  struct stat info {};
  if (::stat(path.c_str(), &info) != 0) return by_errno();
  if (!S_ISREG(info.st_mode)) return not_a_file;
  fd_ = ::open(path.c_str(), O_RDONLY | O_NONBLOCK | O_NOCTTY | O_CLOEXEC);
  if (fd_ < 0 || ::fstat(fd_, &info) != 0) return by_errno();
  if (!S_ISREG(info.st_mode)) return not_a_file;
  size_ = static_cast<std::uint64_t>(info.st_size);
  return std::nullopt;
}

RegularFile::~RegularFile() {
  if (fd_ >= 0) ::close(fd_);
}

std::optional<std::size_t> RegularFile::ReadUpTo(std::uint64_t offset, std::span<std::uint8_t> into) const {
  if (!IsOpen()) return std::nullopt;
  std::size_t done = 0;
  while (done < into.size()) {
    const ssize_t got = ::pread(fd_, into.data() + done, into.size() - done, static_cast<off_t>(offset + done));
    if (got == 0) break;
    if (got < 0 && errno != EINTR) return std::nullopt;
    if (got > 0) done += static_cast<std::size_t>(got);
  }
  return done;
}

bool RegularFile::ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) const {
  return ReadUpTo(offset, into) == into.size();
}

SmallFile ReadSmallFile(const std::string& path, std::size_t limit) {
  const RegularFile file(path);
  if (!file.IsOpen()) return SmallFile{file.Outcome(), "", file.Reason()};
  const SmallFile too_large{FileOutcome::TooLarge, "", "is larger than " + std::to_string(limit) + " bytes"};
  if (file.Size() > limit) return too_large;
  SmallFile read;
  read.text.reserve(static_cast<std::size_t>(file.Size()));
  // One byte past the limit tells a file that grew beyond it since it was opened.
  std::uint8_t piece[kReadPiece];
  for (;;) {
    const std::size_t wanted = std::min(sizeof piece, limit + 1 - read.text.size());
    const std::optional<std::size_t> got = file.ReadUpTo(read.text.size(), std::span(piece, wanted));
    if (!got) return SmallFile{FileOutcome::Unreadable, "", std::string("cannot be read: ") + std::strerror(errno)};
    read.text.append(reinterpret_cast<const char*>(piece), *got);
    if (read.text.size() > limit) return too_large;
    if (*got < wanted) return read;
  }
}

}  // namespace zr::platform
