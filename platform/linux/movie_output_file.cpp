#include "platform/linux/movie_output_file.h"

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <climits>
#include <filesystem>
#include <random>
#include <system_error>

#include "image/dib.h"

extern "C" {
#include <libavutil/error.h>
#include <libavutil/mem.h>
}

namespace zr::platform::linux_impl {

namespace {

constexpr int kIoBufferBytes = 64 * 1024;
constexpr std::string_view kTemporaryMarker = ".partial-";
constexpr int kRandomLetters = 6;
constexpr int kNamingAttempts = 100;
// The muxer ends the first RIFF part and starts another once the file passes this size (its
// own limit, or above it); checkpoints stop before, so that they never touch a finished part.
constexpr std::int64_t kFirstPartBytes = 1000000000;
// The header sits in the first few kilobytes; reading more than this finds nothing more.
constexpr std::size_t kLargestHeaderBytes = 1 << 20;
constexpr std::int64_t kRiffSizeAt = 4;

std::string SystemText(int error) { return std::generic_category().message(error); }

std::string KindOfFile(mode_t mode) {
  if (S_ISLNK(mode)) return "a link";
  if (S_ISCHR(mode) || S_ISBLK(mode)) return "a device";
  if (S_ISFIFO(mode)) return "a pipe";
  if (S_ISSOCK(mode)) return "a socket";
  return "no regular file";
}

Error PathError(const std::string& message, int error) { return Error{message, "MovieOutputFile", error}; }

}  // namespace

// What stands at the movie's name must be nothing yet or a regular file that the movie replaces.
Result<void> MovieOutputFile::CheckName(const std::string& path) {
  const std::filesystem::path target(path);
  if (path.empty() || !target.has_filename() || target.filename() == "." || target.filename() == "..")
    return PathError("'" + path + "' names a folder, not a movie file", EISDIR);
  if (target.filename().string().size() > NAME_MAX)
    return PathError("the name of '" + path + "' is too long for a file", ENAMETOOLONG);
  struct stat status {};
  if (::lstat(path.c_str(), &status) != 0) {
    if (errno == ENOENT) return {};
    return PathError("cannot use '" + path + "': " + SystemText(errno), errno);
  }
  if (S_ISDIR(status.st_mode)) return PathError("'" + path + "' is a folder, not a movie file", EISDIR);
  if (!S_ISREG(status.st_mode))
    return PathError("'" + path + "' is " + KindOfFile(status.st_mode) + ", not a movie file", EEXIST);
  return {};
}

namespace {

// Cut at most to `bytes`, never inside a character of UTF-8.
std::string CutName(const std::string& name, std::size_t bytes) {
  if (name.size() <= bytes) return name;
  std::size_t end = bytes;
  while (end > 0 && (static_cast<unsigned char>(name[end]) & 0xC0) == 0x80) --end;
  return name.substr(0, end);
}

std::string RandomLetters(std::mt19937& random) {
  static constexpr std::string_view kLetters = "abcdefghijklmnopqrstuvwxyzABCDEFGHIJKLMNOPQRSTUVWXYZ0123456789";
  std::uniform_int_distribution<std::size_t> pick(0, kLetters.size() - 1);
  std::string letters;
  for (int i = 0; i < kRandomLetters; ++i) letters += kLetters[pick(random)];
  return letters;
}

// "clip.partial-k3J9aB.avi" beside "clip.avi", the stem cut so that the name stays short enough.
std::string TemporaryName(const std::filesystem::path& target, const std::string& letters) {
  std::string stem = target.stem().string();
  std::string extension = target.extension().string();
  const std::size_t marker = kTemporaryMarker.size() + letters.size();
  if (marker + extension.size() >= NAME_MAX) {
    stem = target.filename().string();
    extension.clear();
  }
  const std::string name =
      CutName(stem, NAME_MAX - marker - extension.size()) + std::string(kTemporaryMarker) + letters + extension;
  return (target.parent_path() / name).string();
}

std::uint32_t LittleEndian(const std::string& bytes, std::size_t at) {
  std::uint32_t value = 0;
  for (std::size_t i = 0; i < 4; ++i) value |= std::uint32_t{static_cast<std::uint8_t>(bytes[at + i])} << (8 * i);
  return value;
}

std::uint32_t ClampedCount(std::int64_t count) {
  return static_cast<std::uint32_t>(std::clamp<std::int64_t>(count, 0, UINT32_MAX));
}

// The places of the counts and sizes in the header the muxer wrote: the total frames of "avih",
// the length of each "strh", the size of the "movi" list that holds the movie's chunks.
struct HeaderFields {
  std::int64_t total_frames_at = 0;
  std::int64_t movi_size_at = 0;
  std::vector<std::int64_t> stream_length_at;
};

void FindFieldsIn(const std::string& bytes, std::size_t begin, std::size_t end, HeaderFields& fields) {
  constexpr std::size_t kTotalFramesInAvih = 16, kLengthInStrh = 32;
  std::size_t at = begin;
  while (at + 8 <= end && fields.movi_size_at == 0) {
    const std::string id = bytes.substr(at, 4);
    const std::size_t size = LittleEndian(bytes, at + 4);
    if (id == "LIST" && at + 12 <= end) {
      const std::string type = bytes.substr(at + 8, 4);
      if (type == "movi") {
        fields.movi_size_at = static_cast<std::int64_t>(at + 4);
        return;
      }
      if (type == "hdrl" || type == "strl") FindFieldsIn(bytes, at + 12, std::min(end, at + 8 + size), fields);
    } else if (id == "avih" && at + 8 + kTotalFramesInAvih + 4 <= end) {
      fields.total_frames_at = static_cast<std::int64_t>(at + 8 + kTotalFramesInAvih);
    } else if (id == "strh" && at + 8 + kLengthInStrh + 4 <= end) {
      fields.stream_length_at.push_back(static_cast<std::int64_t>(at + 8 + kLengthInStrh));
    }
    at += 8 + size + (size & 1);
  }
}

}  // namespace

MovieOutputFile::MovieOutputFile(std::string path, std::string temporary_path, int descriptor)
    : path_(std::move(path)), temporary_path_(std::move(temporary_path)), descriptor_(descriptor) {}

Result<std::unique_ptr<MovieOutputFile>> MovieOutputFile::Create(const std::string& path) {
  if (auto usable = CheckName(path); !usable) return usable.error();
  std::random_device seed;
  std::mt19937 random(seed());
  for (int attempt = 0; attempt < kNamingAttempts; ++attempt) {
    const std::string temporary = TemporaryName(std::filesystem::path(path), RandomLetters(random));
    const int descriptor = ::open(temporary.c_str(), O_RDWR | O_CREAT | O_EXCL | O_CLOEXEC, 0666);
    if (descriptor < 0 && errno == EEXIST) continue;
    if (descriptor < 0) return PathError("cannot create '" + path + "': " + SystemText(errno), errno);
    std::unique_ptr<MovieOutputFile> file(new MovieOutputFile(path, temporary, descriptor));
    auto* buffer = static_cast<unsigned char*>(av_malloc(kIoBufferBytes));
    if (buffer != nullptr)
      file->io_ = avio_alloc_context(buffer, kIoBufferBytes, 1, file.get(), nullptr, &WritePacket, &Seek);
    if (file->io_ == nullptr) {
      av_free(buffer);
      return Error{"out of memory", "avio_alloc_context"};
    }
    // A frame's bytes go to the file as they are, not copied through the buffer first; the
    // small writes of the headers and the index still gather in it.
    file->io_->direct = 1;
    return file;
  }
  return PathError("cannot find a free temporary name beside '" + path + "'", EEXIST);
}

MovieOutputFile::~MovieOutputFile() {
  if (io_ != nullptr) {
    av_freep(&io_->buffer);
    avio_context_free(&io_);
  }
  if (descriptor_ >= 0) ::close(descriptor_);
  if (!finished_) ::unlink(temporary_path_.c_str());
}

int MovieOutputFile::WritePacket(void* opaque, std::uint8_t* bytes, int size) {
  auto& file = *static_cast<MovieOutputFile*>(opaque);
  if (file.write_error_ != 0) return AVERROR(file.write_error_);
  std::int64_t done = 0;
  while (done < size) {
    const ssize_t written = ::pwrite(file.descriptor_, bytes + done, static_cast<std::size_t>(size - done),
                                     static_cast<off_t>(file.position_ + done));
    if (written < 0 && errno == EINTR) continue;
    if (written <= 0) {
      file.write_error_ = written < 0 ? errno : ENOSPC;
      return AVERROR(file.write_error_);
    }
    done += written;
  }
  file.position_ += size;
  file.written_end_ = std::max(file.written_end_, file.position_);
  return size;
}

std::int64_t MovieOutputFile::Seek(void* opaque, std::int64_t offset, int whence) {
  auto& file = *static_cast<MovieOutputFile*>(opaque);
  if ((whence & AVSEEK_SIZE) != 0) return file.written_end_;
  std::int64_t position = offset;
  switch (whence & ~AVSEEK_FORCE) {
    case SEEK_SET:
      break;
    case SEEK_CUR:
      position += file.position_;
      break;
    case SEEK_END:
      position += file.written_end_;
      break;
    default:
      return AVERROR(EINVAL);
  }
  if (position < 0) return AVERROR(EINVAL);
  file.position_ = position;
  return position;
}

Error MovieOutputFile::SystemError(const std::string& what, int error) const {
  return Error{what + " '" + path_ + "': " + SystemText(error), "MovieOutputFile", error};
}

Result<void> MovieOutputFile::StartCheckpoints() {
  avio_flush(io_);
  if (io_->error < 0) return SystemError("cannot write the header of", write_error_);
  std::string header(static_cast<std::size_t>(std::min<std::int64_t>(written_end_, kLargestHeaderBytes)), '\0');
  if (::pread(descriptor_, header.data(), header.size(), 0) != static_cast<ssize_t>(header.size()))
    return SystemError("cannot read back the header of", errno);
  HeaderFields fields;
  if (header.size() >= 12 && header.compare(0, 4, "RIFF") == 0 && header.compare(8, 4, "AVI ") == 0)
    FindFieldsIn(header, 12, header.size(), fields);
  if (fields.total_frames_at == 0 || fields.movi_size_at == 0 || fields.stream_length_at.empty())
    return Error{"the header of '" + path_ + "' has no place for its counts", "MovieOutputFile"};
  total_frames_at_ = fields.total_frames_at;
  movi_size_at_ = fields.movi_size_at;
  stream_length_at_ = std::move(fields.stream_length_at);
  return Checkpoint(0, std::vector<std::int64_t>(stream_length_at_.size(), 0));
}

Result<void> MovieOutputFile::Checkpoint(std::int64_t frames, const std::vector<std::int64_t>& stream_lengths) {
  if (checkpoints_over_ || stream_length_at_.empty()) return {};
  avio_flush(io_);
  if (io_->error < 0) return SystemError("cannot write to the movie", write_error_);
  if (written_end_ - 8 > kFirstPartBytes) {
    checkpoints_over_ = true;
    return {};
  }
  // What the header will count must be on the disk before the header says so.
  if (::fdatasync(descriptor_) != 0) {
    write_error_ = errno;
    return SystemError("cannot write to the movie", write_error_);
  }
  std::vector<std::uint32_t> values{ClampedCount(written_end_ - 8), ClampedCount(written_end_ - movi_size_at_ - 4),
                                    ClampedCount(frames)};
  for (std::size_t stream = 0; stream < stream_length_at_.size(); ++stream)
    values.push_back(ClampedCount(stream < stream_lengths.size() ? stream_lengths[stream] : 0));
  if (auto written = WriteHeaderFields(values); !written) return written;
  checkpoint_end_ = written_end_;
  checkpoint_values_ = std::move(values);
  return {};
}

Result<void> MovieOutputFile::WriteHeaderFields(const std::vector<std::uint32_t>& values) const {
  std::vector<std::int64_t> offsets{kRiffSizeAt, movi_size_at_, total_frames_at_};
  offsets.insert(offsets.end(), stream_length_at_.begin(), stream_length_at_.end());
  for (std::size_t field = 0; field < offsets.size() && field < values.size(); ++field) {
    std::uint8_t bytes[4];
    PutLittleEndian(bytes, values[field], 4);
    if (::pwrite(descriptor_, bytes, sizeof bytes, static_cast<off_t>(offsets[field])) != sizeof bytes)
      return SystemError("cannot write the header of", errno);
  }
  return {};
}

// The muxer may have written part of its ending before it failed: the header of the last
// checkpoint and the content it describes are put back.
Result<void> MovieOutputFile::RestoreLastCheckpoint() {
  if (checkpoints_over_ || checkpoint_values_.empty()) return {};
  if (auto written = WriteHeaderFields(checkpoint_values_); !written) return written;
  if (::ftruncate(descriptor_, static_cast<off_t>(checkpoint_end_)) != 0)
    return SystemError("cannot cut back the movie", errno);
  return {};
}

Result<void> MovieOutputFile::Finish(bool complete) {
  if (finished_) return {};
  finished_ = true;
  if (complete) {
    avio_flush(io_);
    complete = io_->error >= 0;
  }
  Result<void> result;
  if (!complete) result = RestoreLastCheckpoint();
  if (synced_ && ::fdatasync(descriptor_) != 0 && result) result = SystemError("cannot write to the movie", errno);
  ::close(descriptor_);
  descriptor_ = -1;
  if (auto renamed = Rename(); !renamed && result) result = renamed;
  return result;
}

// Only a regular file, or nothing, gives way to the movie; the name is then made lasting.
Result<void> MovieOutputFile::Rename() {
  const std::string kept = "; the movie is kept as '" + temporary_path_ + "'";
  struct stat status {};
  if (::lstat(path_.c_str(), &status) == 0 && !S_ISREG(status.st_mode))
    return PathError("'" + path_ + "' is no longer a regular file" + kept, EEXIST);
  if (::rename(temporary_path_.c_str(), path_.c_str()) != 0)
    return PathError("cannot name the movie '" + path_ + "': " + SystemText(errno) + kept, errno);
  if (!synced_) return {};
  const std::filesystem::path folder = std::filesystem::path(path_).parent_path();
  const int folder_descriptor = ::open(folder.empty() ? "." : folder.c_str(), O_RDONLY | O_DIRECTORY | O_CLOEXEC);
  if (folder_descriptor >= 0) {
    (void)::fsync(folder_descriptor);
    ::close(folder_descriptor);
  }
  return {};
}

}  // namespace zr::platform::linux_impl
