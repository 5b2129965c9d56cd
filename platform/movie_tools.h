#pragma once
// The movie window's long tools, run away from the logic thread: every frame of a movie saved as
// numbered picture files, and a movie recompressed to a new file with its sound saved beside it.
// The back end decodes, codes and writes; the logic hears of the work through events posted to
// its loop, in order, and decides everything the operator sees.
//
// Threads: Start*, Cancel and the destructor on the logic thread; the reports arrive there. A
// job destroyed before its end is cancelled and waited for; no report arrives after that.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/result.h"
#include "platform/movie_file.h"
#include "platform/picture.h"

namespace zr::platform {

// ---- every frame to picture files

enum class FrameFileKind { None, Bitmap, Jpeg };

// The name of frame `number`'s file: `base`, "_Frame_", six digits or more, ".bmp" or ".jpg".
std::string FrameFileName(const std::string& base, std::int64_t number, FrameFileKind kind);

struct FrameExtractionRequest {
  std::string movie;
  std::string base;  // the files' names, as FrameFileName makes them
  // None decodes every frame and saves nothing.
  FrameFileKind kind = FrameFileKind::None;
  int jpeg_quality = 100;
  // A window shows each frame: every decoded frame is reported with its picture, in the movie's
  // order, and the work waits for the logic to take the reports. Otherwise the work goes as fast
  // as the machine can decode and the logic hears a count now and then.
  bool report_each_frame = false;
};

// One frame decoded, and saved when the request names a kind. Frames that cannot be decoded are
// never reported, so their numbers are missing.
struct ExtractedFrame {
  std::int64_t number = 0;
  std::int64_t last = 0;                   // the number of the movie's last frame
  std::shared_ptr<const Picture> picture;  // with report_each_frame only
};

// How far the work has gone, when frames are not reported one by one.
struct ExtractionProgress {
  std::int64_t done = 0;  // frames decoded, whether saved or not
  std::int64_t frames = 0;
};

struct FrameExtractionEnd {
  std::optional<Error> unreadable;  // the movie's video could not be read at all
  std::int64_t frames = 0;          // the frames the movie holds
  std::int64_t saved = 0;           // picture files written
  std::int64_t undecodable = 0;     // frames passed over
  std::optional<Error> save_error;  // the first picture file that could not be written
  bool cancelled = false;
};

struct FrameExtractionReports {
  std::function<void(const ExtractedFrame&)> frame;
  std::function<void(const ExtractionProgress&)> progress;
  std::function<void(const FrameExtractionEnd&)> ended;
};

// ---- a movie recompressed

struct RecompressionRequest {
  std::string movie;
  std::string target;
  MovieFormat codec;  // the codec fields; the size and rate are the movie's own
  // The wave file the movie's sound goes to, after the video; nothing saves no stream, which
  // fails as such a save does.
  std::optional<std::string> sound;
};

// What became of one save: done, aborted by a cancel, or failed.
struct SaveOutcome {
  bool aborted = false;
  std::optional<Error> error;
};

struct RecompressionEnd {
  SaveOutcome video;
  SaveOutcome sound;
  std::int64_t frames = 0;  // the frames the target holds
};

struct RecompressionReports {
  std::function<void(int percent)> progress;  // only when the share changes
  std::function<void(const RecompressionEnd&)> ended;
};

// ---- the jobs

class MovieJob {
 public:
  virtual ~MovieJob() = default;
  // Stops after the frame in hand; what was written is closed whole, and the end is reported.
  virtual void Cancel() = 0;
};

class MovieTools {
 public:
  virtual ~MovieTools() = default;
  virtual std::unique_ptr<MovieJob> StartExtraction(FrameExtractionRequest request, FrameExtractionReports reports) = 0;
  virtual std::unique_ptr<MovieJob> StartRecompression(RecompressionRequest request, RecompressionReports reports) = 0;
};

}  // namespace zr::platform
