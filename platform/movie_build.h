#pragma once
// A movie built from bitmap files, one file a frame, in the order given. The back end reads
// the files ahead, codes and writes them away from the logic thread, and reports on the logic
// thread through events posted to the loop: the frames as they are written (not necessarily
// each one: a report waits until the logic has taken the one before), then the end, once.
//
// A file that cannot be read, or that no longer has the movie's size, gives the movie the last
// frame written once more. A cancelled build, or one whose writing failed, closes the movie as
// far as it was written, so that it plays.
//
// Threads: Start, Cancel and the destructor on the logic thread; the reports arrive there.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "base/result.h"
#include "platform/movie_file.h"
#include "platform/picture.h"

namespace zr::platform {

struct MovieBuildRequest {
  std::string path;                 // the movie
  std::vector<std::string> frames;  // the bitmap files, in the movie's order
  MovieFormat format;               // the size of the first file, the rate, the compressor
};

struct MovieBuildProgress {
  int frame = 0;                           // the index of the frame written last
  std::shared_ptr<const Picture> picture;  // its picture
};

struct MovieBuildEnd {
  std::int64_t frames = 0;  // the frames the movie holds
  bool cancelled = false;
  std::optional<Error> error;  // what failed, when the movie could not be written whole
};

struct MovieBuildReports {
  std::function<void(const MovieBuildProgress&)> progress;
  std::function<void(const MovieBuildEnd&)> ended;
};

// A build under way. Destroying it cancels it and waits for the movie to be closed; no report
// arrives after that.
class MovieBuild {
 public:
  virtual ~MovieBuild() = default;
  // Stops after the frame in hand; the end is still reported.
  virtual void Cancel() = 0;
};

class MovieBuilder {
 public:
  virtual ~MovieBuilder() = default;
  virtual std::unique_ptr<MovieBuild> Start(MovieBuildRequest request, MovieBuildReports reports) = 0;
};

}  // namespace zr::platform
