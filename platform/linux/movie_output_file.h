#pragma once
// The file an AVI movie is written into.
//
// Naming: the movie grows under a temporary name beside its own ("clip.partial-k3J9aB.avi" for
// "clip.avi"), made for this movie alone, and takes its name when it is finished, so that what
// stood at the name stays whole until then. Only a regular file is ever replaced: a folder, a
// device, a link or anything else at the name is refused before a byte is written, and looked
// at again before the rename. A name too long for the file system is refused too.
//
// Protocols: FFmpeg writes through an I/O context of this file's own, which reaches this file
// and nothing else; no protocol is looked up by the movie's name, so "tcp://host/clip.avi" is
// a local name like any other.
//
// Checkpoints: every so often the writer calls Checkpoint with the counts of what it has written.
// Everything written is synced to the disk first; then the header's sizes (RIFF, the "movi"
// list) and counts (the total frames of "avih", the length of every "strh") are rewritten in
// place to describe it. A movie cut off by a killed process or a power cut therefore opens with
// headers that count what the last checkpoint held, and the frames written after it follow
// unindexed. The muxer starts further RIFF parts past its first gigabyte or so and keeps their
// headers itself; checkpoints stop there.
//
// Failure: a write that fails is remembered with the system's error and every later write
// fails too. Finishing a movie that failed cuts the file back to its last checkpoint, so that
// its headers and its content agree, and still gives it its name: the movie written so far
// plays.

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "base/result.h"

extern "C" {
#include <libavformat/avio.h>
}

namespace zr::platform::linux_impl {

class MovieOutputFile {
 public:
  // Whether a movie may be written under `path`: nothing stands there yet, or a regular file,
  // and the name is not too long for a file.
  static Result<void> CheckName(const std::string& path);
  // Refuses a name as CheckName does, and makes the temporary file.
  static Result<std::unique_ptr<MovieOutputFile>> Create(const std::string& path);
  // A file never finished holds no movie: it is removed.
  ~MovieOutputFile();
  MovieOutputFile(const MovieOutputFile&) = delete;
  MovieOutputFile& operator=(const MovieOutputFile&) = delete;

  // FFmpeg's way into the file; owned by this object.
  AVIOContext* Io() const { return io_; }
  const std::string& Path() const { return path_; }
  const std::string& TemporaryPath() const { return temporary_path_; }

  // Once the muxer has written the header: finds the fields that checkpoints rewrite and takes
  // the first checkpoint, of an empty movie.
  Result<void> StartCheckpoints();
  // `frames`: the video frames written; `stream_lengths`: each stream's length as its "strh"
  // counts it (frames, or sample frames of PCM sound), in the order of the streams.
  Result<void> Checkpoint(std::int64_t frames, const std::vector<std::int64_t>& stream_lengths);

  // Syncs and closes the file and gives it its name. `complete` is false when the movie failed
  // (its muxer did not finish it): the file is cut back to its last checkpoint first.
  Result<void> Finish(bool complete);
  // No sync at Finish, neither of the movie nor of its folder: whoever made the movie can make
  // it again, and the system writes it out in its own time.
  void LeaveSyncToTheSystem() { synced_ = false; }

  // The error the last failed write met, as the system numbers it; 0 while none failed.
  int WriteError() const { return write_error_; }

 private:
  MovieOutputFile(std::string path, std::string temporary_path, int descriptor);

  static int WritePacket(void* opaque, std::uint8_t* bytes, int size);
  static std::int64_t Seek(void* opaque, std::int64_t offset, int whence);

  Result<void> WriteHeaderFields(const std::vector<std::uint32_t>& values) const;
  Result<void> RestoreLastCheckpoint();
  Result<void> Rename();
  Error SystemError(const std::string& what, int error) const;

  std::string path_;
  std::string temporary_path_;
  int descriptor_ = -1;
  AVIOContext* io_ = nullptr;
  bool finished_ = false;
  bool synced_ = true;

  std::int64_t position_ = 0;     // where the next write goes
  std::int64_t written_end_ = 0;  // the end of what has been written
  int write_error_ = 0;

  // The header's fields, as offsets in the file; empty until StartCheckpoints.
  std::int64_t total_frames_at_ = 0;
  std::int64_t movi_size_at_ = 0;
  std::vector<std::int64_t> stream_length_at_;
  // The last checkpoint: the file's end then and the values written into the fields.
  std::int64_t checkpoint_end_ = 0;
  std::vector<std::uint32_t> checkpoint_values_;
  bool checkpoints_over_ = false;  // the movie has grown past its first RIFF part
};

}  // namespace zr::platform::linux_impl
