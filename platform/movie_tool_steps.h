#pragma once
// The steps of the movie window's tools, a frame at a time, as both back ends run them: the real
// one on threads of its own, the simulated one in events of the loop. Neither the steps nor
// their owners touch the logic's state; reports are their owners' business.

#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "base/result.h"
#include "platform/movie_file.h"
#include "platform/movie_tools.h"
#include "platform/picture.h"

namespace zr::platform {

// Writes one picture file whole under its name at the quality a JPEG file is coded with.
using SavePictureFile = std::function<Result<void>(const Picture& picture, const std::string& path, int quality)>;

// One reader of the movie's frames that saves each frame it decodes; an extraction may run
// several over parts of the movie.
class FrameSaver {
 public:
  // An Error when the movie's video cannot be read.
  static Result<FrameSaver> Open(MovieFiles& movies, const FrameExtractionRequest& request, SavePictureFile save);

  std::int64_t FrameCount() const { return reader_->FrameCount(); }
  // Decodes frame `number` and saves it when the request names a kind; the picture, or nothing
  // when the frame cannot be decoded. The counts of `tally` follow.
  std::shared_ptr<const Picture> Take(std::int64_t number, FrameExtractionEnd& tally);

 private:
  FrameSaver(std::unique_ptr<MovieFrameReader> reader, const FrameExtractionRequest& request, SavePictureFile save)
      : reader_(std::move(reader)), request_(request), save_(std::move(save)) {}

  std::unique_ptr<MovieFrameReader> reader_;
  FrameExtractionRequest request_;
  SavePictureFile save_;
};

// A movie's video written anew with other codec fields, frame by frame, and then its sound
// saved to a wave file.
class RecompressionSteps {
 public:
  RecompressionSteps(MovieFiles& movies, RecompressionRequest request);

  // Writes the next frame; false when no frame is left or the save has failed. A frame that
  // cannot be decoded gives the target the frame before once more, so the target keeps the
  // movie's length.
  bool WriteNext();
  // The share of the frames handled, 0 to 100.
  int Percent() const;
  // Closes the target as far as it was written (aborted when `cancelled` says so now), then
  // saves the sound, which a cancel aborts too. What each save came to.
  RecompressionEnd Finish(const std::function<bool()>& cancelled);

 private:
  MovieFiles& movies_;
  RecompressionRequest request_;
  std::unique_ptr<MovieFrameReader> reader_;
  std::unique_ptr<MovieWriter> writer_;
  RecompressionEnd end_;
  std::int64_t next_ = 0;
  std::int64_t count_ = 0;
};

}  // namespace zr::platform
