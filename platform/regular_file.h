#pragma once
// Reading the files the program parses (parameter files, insertion files, settings, the station
// list, pictures, sounds) without trusting them: only a regular file is opened, so a FIFO, a
// device such as /dev/zero or a folder is refused before anything waits on it or reads it, and
// no read goes past the length the caller allows, however the file grows while it is read.
// Removing follows the same rule: only a regular file the program is about to write anew is
// ever removed; a folder, a device, a link or anything else at the name is left as it stands.

#include <cstddef>
#include <cstdint>
#include <filesystem>
#include <optional>
#include <span>
#include <string>
#include <system_error>
#include <utility>

namespace zr::platform {

enum class FileOutcome { Read, Missing, Unreadable, NotAFile, TooLarge };

// An open regular file, read at offsets; closed when its owner goes.
class RegularFile {
 public:
  explicit RegularFile(const std::string& path);
  ~RegularFile();
  RegularFile(const RegularFile&) = delete;
  RegularFile& operator=(const RegularFile&) = delete;

  // Read when the file is open; otherwise why not.
  FileOutcome Outcome() const { return outcome_; }
  bool IsOpen() const { return outcome_ == FileOutcome::Read; }
  // Why the file is not open, in words that follow the file's name: "is not a regular file".
  const std::string& Reason() const { return reason_; }
  // The length when the file was opened.
  std::uint64_t Size() const { return size_; }
  // Fills `into` from `offset` on; false when the file holds fewer bytes there, or cannot be read.
  bool ReadAt(std::uint64_t offset, std::span<std::uint8_t> into) const;
  // How many bytes of `into` were filled from `offset` on: fewer where the file ends; nothing
  // when it cannot be read.
  std::optional<std::size_t> ReadUpTo(std::uint64_t offset, std::span<std::uint8_t> into) const;

 private:
  // Why the file cannot be had; nothing when it is open.
  std::optional<std::pair<FileOutcome, std::string>> Open(const std::string& path);

  int fd_ = -1;
  FileOutcome outcome_ = FileOutcome::Read;
  std::string reason_;
  std::uint64_t size_ = 0;
};

struct SmallFile {
  FileOutcome outcome = FileOutcome::Read;
  std::string text;    // the whole file, when read
  std::string reason;  // why it was not read, in words that follow the file's name

  bool IsRead() const { return outcome == FileOutcome::Read; }
};

// The whole file at `path` when it is a regular file of at most `limit` bytes.
SmallFile ReadSmallFile(const std::string& path, std::size_t limit);

// True when a regular file stood at `path` and is gone.
inline bool RemoveRegularFile(const std::string& path) {
  std::error_code error;
  if (!std::filesystem::is_regular_file(std::filesystem::symlink_status(path, error))) return false;
  return std::filesystem::remove(path, error) && !error;
}

}  // namespace zr::platform
