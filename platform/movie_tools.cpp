#include "platform/movie_tools.h"

#include <utility>

#include "base/formatting.h"
#include "platform/movie_tool_steps.h"

namespace zr::platform {

std::string FrameFileName(const std::string& base, std::int64_t number, FrameFileKind kind) {
  return base + "_Frame_" + FormatNumber(static_cast<double>(number), "#000000") +
         (kind == FrameFileKind::Bitmap ? ".bmp" : ".jpg");
}

Result<FrameSaver> FrameSaver::Open(MovieFiles& movies, const FrameExtractionRequest& request, SavePictureFile save) {
  auto reader = movies.OpenFrameReader(request.movie);
  if (!reader) return reader.error();
  return FrameSaver(std::move(*reader), request, std::move(save));
}

std::shared_ptr<const Picture> FrameSaver::Take(std::int64_t number, FrameExtractionEnd& tally) {
  auto picture = reader_->ReadFrame(number);
  if (!picture || !*picture) {
    ++tally.undecodable;
    return nullptr;
  }
  if (request_.kind != FrameFileKind::None) {
    auto saved = save_(**picture, FrameFileName(request_.base, number, request_.kind), request_.jpeg_quality);
    if (saved)
      ++tally.saved;
    else if (!tally.save_error)
      tally.save_error = saved.error();
  }
  return *picture;
}

RecompressionSteps::RecompressionSteps(MovieFiles& movies, RecompressionRequest request)
    : movies_(movies), request_(std::move(request)) {
  auto info = movies_.ReadInfo(request_.movie);
  auto reader =
      info ? movies_.OpenFrameReader(request_.movie) : Result<std::unique_ptr<MovieFrameReader>>(info.error());
  if (!reader) {
    end_.video.error = reader.error();
    return;
  }
  reader_ = std::move(*reader);
  count_ = reader_->FrameCount();
  MovieFormat format = request_.codec;
  format.width = info->width;
  format.height = info->height;
  format.frames_per_second = info->frames_per_second;
  format.audio.reset();
  format.checkpoints = MovieFormat::Checkpoints::None;
  auto writer = movies_.OpenWriter(request_.target, format);
  if (!writer) {
    end_.video.error = writer.error();
    return;
  }
  writer_ = std::move(*writer);
}

bool RecompressionSteps::WriteNext() {
  if (!writer_ || end_.video.error || next_ >= count_) return false;
  auto picture = reader_->ReadFrame(next_++);
  Result<void> written;
  if (picture && *picture)
    written = writer_->WriteVideoFrame((*picture)->View());
  else if (end_.frames > 0)
    written = writer_->RepeatLastFrame();
  else
    return true;
  if (!written) {
    end_.video.error = written.error();
    return false;
  }
  ++end_.frames;
  return true;
}

int RecompressionSteps::Percent() const { return count_ > 0 ? static_cast<int>(next_ * 100 / count_) : 100; }

RecompressionEnd RecompressionSteps::Finish(const std::function<bool()>& cancelled) {
  if (writer_) {
    end_.video.aborted = cancelled() && !end_.video.error;
    if (auto closed = writer_->Close(); !closed && !end_.video.error) end_.video.error = closed.error();
    writer_.reset();
  }
  if (!request_.sound) {
    end_.sound.error = Error{"there is no stream to save", "SaveSound"};
  } else if (cancelled()) {
    end_.sound.aborted = true;
  } else if (auto saved = movies_.SaveSound(request_.movie, *request_.sound, cancelled); !saved) {
    if (cancelled())
      end_.sound.aborted = true;
    else
      end_.sound.error = saved.error();
  }
  return end_;
}

}  // namespace zr::platform
