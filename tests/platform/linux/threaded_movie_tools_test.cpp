// The movie tools on their threads, against movies ffmpeg wrote: frames reported to a window in
// the movie's order with the logic holding the decoder back, frames saved in parts on every core
// to the window's names, cancels that leave whole files, and a recompression read back by
// ffprobe with its sound beside it.

#include "platform/linux/threaded_movie_tools.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <functional>
#include <optional>
#include <string>

#include "image/picture_writer.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "platform/linux/poll_event_loop.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

namespace fs = std::filesystem;
using zr::testing::ProbeStream;
using zr::testing::RunCommand;

constexpr int kFrames = 60;

class ThreadedMovieToolsTest : public ::testing::Test {
 protected:
  void SetUp() override {
    RunCommand(
        "ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=20 -f lavfi -i sine=sample_rate=8000 -t 3"
        " -c:v mjpeg -c:a pcm_s16le '" +
        Path("movie.avi") + "'");
  }
  std::string Path(const std::string& name) const { return folder_.File(name); }

  template <class End>
  End RunToEnd(const std::function<std::unique_ptr<MovieJob>(std::function<void(const End&)>)>& start) {
    std::optional<End> ended;
    job_ = start([&ended](const End& end) { ended = end; });
    loop_.RunModal([&] { return ended.has_value(); });
    job_.reset();
    return *ended;
  }

  FrameExtractionEnd Extract(FrameExtractionRequest request, const std::function<void(const ExtractedFrame&)>& frame,
                             const std::function<void(const ExtractionProgress&)>& progress = {}) {
    return RunToEnd<FrameExtractionEnd>([&](auto ended) {
      return tools_.StartExtraction(std::move(request), {frame, progress, ended});
    });
  }

  std::size_t PartFiles() const {
    std::size_t count = 0;
    for (const auto& entry : fs::directory_iterator(folder_.path())) count += entry.path().extension() == ".part";
    return count;
  }

  zr::testing::TemporaryFolder folder_;
  PollEventLoop loop_;
  FfmpegMovieFiles movies_;
  ThreadedMovieTools tools_{loop_, movies_};
  std::unique_ptr<MovieJob> job_;
};

TEST_F(ThreadedMovieToolsTest, FramesForAWindowComeInTheMoviesOrderEachSavedBeforeItIsTold) {
  std::vector<std::int64_t> told;
  const auto end =
      Extract({Path("movie.avi"), Path("shot"), FrameFileKind::Jpeg, 80, true}, [&](const ExtractedFrame& frame) {
        told.push_back(frame.number);
        EXPECT_EQ(frame.last, kFrames - 1);
        EXPECT_EQ(frame.picture->width, 64);
        EXPECT_TRUE(fs::exists(FrameFileName(Path("shot"), frame.number, FrameFileKind::Jpeg)));
      });
  EXPECT_EQ(end.frames, kFrames);
  EXPECT_EQ(end.saved, kFrames);
  EXPECT_FALSE(end.unreadable || end.save_error || end.cancelled);
  ASSERT_EQ(told.size(), static_cast<std::size_t>(kFrames));
  for (int index = 0; index < kFrames; ++index) EXPECT_EQ(told[static_cast<std::size_t>(index)], index);
}

TEST_F(ThreadedMovieToolsTest, WhatCannotBeReadOrWrittenIsToldAtTheEnd) {
  RunCommand("echo text > '" + Path("text.avi") + "'");
  EXPECT_TRUE(
      Extract({Path("text.avi"), Path("shot"), FrameFileKind::Bitmap, 100, false}, {}, [](auto&) {}).unreadable);
  const auto end = Extract({Path("movie.avi"), Path("nowhere/shot"), FrameFileKind::Jpeg, 90, false}, {}, [](auto&) {});
  EXPECT_EQ(end.saved, 0);
  EXPECT_TRUE(end.save_error);
}

// For a window the cancel comes with a frame's report; for none, as soon as the work starts.
TEST_F(ThreadedMovieToolsTest, ACancelLeavesOnlyWholePictures) {
  for (const bool each_frame : {true, false}) {
    SCOPED_TRACE(each_frame);
    const FrameExtractionRequest request{Path("movie.avi"), Path("cut"), FrameFileKind::Bitmap, 100, each_frame};
    const auto end = RunToEnd<FrameExtractionEnd>([&](auto ended) {
      auto job = tools_.StartExtraction(request, {[this](auto&) { job_->Cancel(); }, [](auto&) {}, ended});
      if (!each_frame) job->Cancel();
      return job;
    });
    EXPECT_TRUE(end.cancelled);
    EXPECT_LT(end.saved, kFrames);
    EXPECT_EQ(PartFiles(), 0u);
    for (int index = 0; index < kFrames; ++index) {
      const std::string name = FrameFileName(Path("cut"), index, FrameFileKind::Bitmap);
      EXPECT_TRUE(!fs::exists(name) || LoadPictureFile(name)) << name;
    }
  }
}

TEST_F(ThreadedMovieToolsTest, ARecompressedMovieHasEveryFrameInTheNewCodecAndItsSoundBeside) {
  std::vector<int> percents;
  RecompressionRequest request{Path("movie.avi"), Path("new.avi"), MovieFormat{}, Path("new.wav")};
  request.codec.codec = VideoCodec::HuffYuv;
  const auto end = RunToEnd<RecompressionEnd>([&](auto ended) {
    return tools_.StartRecompression(request, {[&](int percent) { percents.push_back(percent); }, ended});
  });
  EXPECT_FALSE(end.video.error || end.video.aborted || end.sound.error || end.sound.aborted);
  EXPECT_EQ(end.frames, kFrames);
  ASSERT_FALSE(percents.empty());
  EXPECT_TRUE(std::is_sorted(percents.begin(), percents.end()));
  EXPECT_EQ(percents.back(), 100);
  auto video = ProbeStream(Path("new.avi"), 'v', "nb_read_frames,codec_tag_string,r_frame_rate");
  EXPECT_EQ(video["nb_read_frames"], std::to_string(kFrames));
  EXPECT_EQ(video["codec_tag_string"], "HFYU");
  EXPECT_EQ(video["r_frame_rate"], "20/1");
  auto sound = ProbeStream(Path("new.wav"), 'a', "sample_rate,duration");
  EXPECT_EQ(sound["sample_rate"], "8000");
  EXPECT_NEAR(std::stod(sound["duration"]), 3.0, 0.05);
}

// A movie large enough that the cancel comes while frames are still to be written.
TEST_F(ThreadedMovieToolsTest, ACancelledRecompressionClosesAMovieThatPlaysAndSavesNoSound) {
  RunCommand("ffmpeg -v error -f lavfi -i testsrc2=size=1280x720:rate=20 -t 3 -c:v mjpeg '" + Path("large.avi") + "'");
  RecompressionRequest request{Path("large.avi"), Path("new.avi"), MovieFormat{}, Path("new.wav")};
  const auto end = RunToEnd<RecompressionEnd>([&](auto ended) {
    return tools_.StartRecompression(request, {[this](int) { job_->Cancel(); }, ended});
  });
  EXPECT_TRUE(end.video.aborted);
  EXPECT_TRUE(end.sound.aborted);
  EXPECT_GE(end.frames, 1);
  EXPECT_LT(end.frames, kFrames);
  EXPECT_EQ(ProbeStream(Path("new.avi"), 'v', "nb_read_frames")["nb_read_frames"], std::to_string(end.frames));
  EXPECT_FALSE(fs::exists(Path("new.wav")));
}

}  // namespace
}  // namespace zr::platform::linux_impl
