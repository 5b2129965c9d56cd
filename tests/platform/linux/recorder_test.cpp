#include "platform/linux/recorder.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <future>
#include <limits>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <tuple>
#include <utility>
#include <vector>

#include "platform/linux/ffmpeg_movie_files.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using namespace std::chrono_literals;
using Ints = std::vector<int>;
using Bytes = std::vector<std::uint8_t>;

// ---- A movie that only remembers what it was given --------------------------------------------

// Every picture of these tests is one flat value; a movie frame is remembered by that value.
class FakeMovie final : public MovieFiles {
 public:
  std::mutex mutex;
  std::condition_variable changed;
  Ints frames;  // the value of each frame of the movie, repeats included; -100 when not 16 x 8
  Bytes audio;
  bool closed = false;
  bool gate_open = true;     // closed: the writer stops inside WriteVideoFrame
  bool writer_held = false;  // the writer is stopped at the gate
  std::optional<std::size_t> fail_at_frame;
  bool refuse_to_open = false;

  void SetGate(bool open) {
    std::lock_guard lock(mutex);
    gate_open = open;
    changed.notify_all();
  }
  bool WaitForWriterHeld() {
    std::unique_lock lock(mutex);
    return changed.wait_for(lock, 5s, [&] { return writer_held; });
  }

  Result<std::unique_ptr<MovieWriter>> OpenWriter(const std::string&, const MovieFormat&) override {
    if (refuse_to_open) return Error{"no room for the file", "fake"};
    return std::unique_ptr<MovieWriter>(std::make_unique<Writer>(*this));
  }
  Result<MovieInfo> ReadInfo(const std::string&) override { return Error{"not kept", "fake"}; }
  Result<std::unique_ptr<MovieFrameReader>> OpenFrameReader(const std::string&) override {
    return Error{"not kept", "fake"};
  }
  std::vector<VideoCompressor> VideoCompressors() override { return {}; }
  Result<void> SaveSound(const std::string&, const std::string&, const std::function<bool()>&) override {
    return Error{"not kept", "fake"};
  }

 private:
  class Writer final : public MovieWriter {
   public:
    explicit Writer(FakeMovie& movie) : movie_(movie) {}
    Result<void> WriteVideoFrame(const FrameView& frame) override {
      std::unique_lock lock(movie_.mutex);
      movie_.writer_held = !movie_.gate_open;
      movie_.changed.notify_all();
      movie_.changed.wait(lock, [&] { return movie_.gate_open; });
      movie_.writer_held = false;
      if (movie_.fail_at_frame == movie_.frames.size()) return Error{"the disk is full", "fake", ENOSPC};
      movie_.frames.push_back(frame.width == 16 && frame.height == 8 ? frame.bottom_up_bgr[0] : -100);
      return {};
    }
    Result<void> RepeatLastFrame() override {
      std::lock_guard lock(movie_.mutex);
      if (movie_.frames.empty()) return Error{"nothing to repeat", "fake"};
      movie_.frames.push_back(movie_.frames.back());
      return {};
    }
    Result<void> WriteAudio(std::span<const std::uint8_t> pcm) override {
      std::lock_guard lock(movie_.mutex);
      movie_.audio.insert(movie_.audio.end(), pcm.begin(), pcm.end());
      return {};
    }
    Result<void> Close() override {
      std::lock_guard lock(movie_.mutex);
      movie_.closed = true;
      return {};
    }

   private:
    FakeMovie& movie_;
  };
};

// ---- Frames and sound -----------------------------------------------------------------------

std::shared_ptr<const Picture> Flat(int value, int width = 16, int height = 8) {
  Picture picture = Picture::Blank(width, height);
  std::fill(picture.bottom_up_bgr.begin(), picture.bottom_up_bgr.end(), static_cast<std::uint8_t>(value));
  return std::make_shared<const Picture>(std::move(picture));
}

std::int64_t AtRate(std::int64_t frame, double fps) { return std::llround(static_cast<double>(frame) * 1e6 / fps); }

CapturedFrame Frame(int value, std::int64_t timestamp_us, int width = 16, int height = 8) {
  return CapturedFrame{Flat(value, width, height), timestamp_us, 0};
}

// Bytes that differ from their neighbours, so that lost or reordered sound shows.
Bytes Counting(std::size_t bytes, std::size_t offset = 0) {
  Bytes pcm(bytes);
  for (std::size_t i = 0; i < bytes; ++i) pcm[i] = static_cast<std::uint8_t>(i * 7 + offset);
  return pcm;
}

struct EndSeen {
  int calls = 0;
  RecordingEnd end = RecordingEnd::Stopped;
  Error why;
  bool file_closed_first = false;
};

class RecorderTest : public ::testing::Test {
 protected:
  RecordingSettings Settings(double fps, std::optional<std::int64_t> limit = std::nullopt) {
    RecordingSettings settings;
    settings.path = "movie.avi";
    settings.format = MovieFormat{16, 8, fps, VideoCodec::Mjpeg, 90, std::nullopt};
    settings.limit_frames = limit;
    settings.queue_frames = 1000;  // room for any test that is not about the queue
    return settings;
  }

  std::unique_ptr<Recorder> Make(RecordingSettings settings, MovieFiles* files = nullptr) {
    return std::make_unique<Recorder>(files ? *files : movie_, std::move(settings),
                                      [this](RecordingEnd end, const Error& why) {
                                        std::lock_guard lock(movie_.mutex);
                                        ++seen_.calls;
                                        seen_.end = end;
                                        seen_.why = why;
                                        seen_.file_closed_first = movie_.closed || !files_used_fake_;
                                      });
  }

  std::unique_ptr<Recorder> Started(RecordingSettings settings, MovieFiles* files = nullptr) {
    auto recorder = Make(std::move(settings), files);
    EXPECT_TRUE(zr::testing::Ok(recorder->Start()));
    return recorder;
  }

  // Waits until the writer has written `frames` frames; false after a few seconds.
  static bool WaitForFrames(const Recorder& recorder, std::int64_t frames) {
    for (auto until = std::chrono::steady_clock::now() + 5s; std::chrono::steady_clock::now() < until;) {
      if (recorder.FramesWritten() >= frames) return true;
      std::this_thread::sleep_for(1ms);
    }
    return false;
  }

  FakeMovie movie_;
  bool files_used_fake_ = true;
  EndSeen seen_;
};

// ---- Timing of the slots ----------------------------------------------------------------------

struct Delivery {
  int value;
  std::int64_t timestamp_us;
  int width = 16, height = 8;
};

// A frame for each of the slots, each, with jitter, on time, late or early by it in turn.
std::vector<Delivery> AtSlots(const Ints& slots, double fps, std::int64_t jitter_us = 0) {
  constexpr int kTurn[] = {0, 1, -1};
  std::vector<Delivery> frames;
  for (const int slot : slots) frames.push_back({slot, AtRate(slot, fps) + kTurn[slot % 3] * jitter_us});
  return frames;
}

Ints Series(int count, int step = 1) {
  Ints values;
  for (int i = 0; i < count; ++i) values.push_back(i * step);
  return values;
}

struct SlotCase {
  std::string name;
  double fps;
  std::optional<std::int64_t> limit;  // without one the run is stopped after the deliveries
  std::vector<Delivery> delivered;
  Ints written;  // the value of each frame of the movie, every one scaled to its 16 x 8
  std::int64_t dropped;
  std::chrono::milliseconds lasts_at_least{0};
  int tolerance = 0;  // how far a written value may be from the one listed
  std::size_t pause_after = std::numeric_limits<std::size_t>::max();  // until these are written
};

class RecorderSlots : public RecorderTest, public ::testing::WithParamInterface<SlotCase> {};

TEST_P(RecorderSlots, HoldTheRightFramesAndCountTheDropped) {
  const SlotCase& c = GetParam();
  const auto started = std::chrono::steady_clock::now();
  auto recorder = Started(Settings(c.fps, c.limit));
  for (std::size_t i = 0; i < c.delivered.size(); ++i) {
    if (i == c.pause_after) {
      ASSERT_TRUE(WaitForFrames(*recorder, static_cast<std::int64_t>(i)));
    }
    const Delivery& d = c.delivered[i];
    recorder->OnFrame(Frame(d.value, d.timestamp_us, d.width, d.height));
  }
  if (!c.limit) recorder->RequestStop();
  recorder->Wait();
  EXPECT_GE(zr::testing::Since(started), c.lasts_at_least);
  EXPECT_LT(zr::testing::Since(started), 3s);
  ASSERT_EQ(movie_.frames.size(), c.written.size());
  for (std::size_t i = 0; i < c.written.size(); ++i) {
    EXPECT_NEAR(movie_.frames[i], c.written[i], c.tolerance) << "frame " << i;
  }
  EXPECT_EQ(recorder->FramesWritten(), static_cast<std::int64_t>(c.written.size()));
  EXPECT_EQ(recorder->FramesDropped(), c.dropped);
  EXPECT_EQ(seen_.calls, 1);
  EXPECT_EQ(seen_.end, c.limit ? RecordingEnd::LimitReached : RecordingEnd::Stopped);
  EXPECT_EQ(seen_.why.message, "");
  EXPECT_TRUE(seen_.file_closed_first);
  EXPECT_FALSE(recorder->Running());
}

INSTANTIATE_TEST_SUITE_P(
    Deliveries, RecorderSlots,
    ::testing::Values(SlotCase{"AtTheRunsRateEverySlotUpToTheLimit", 30, 150, AtSlots(Series(160), 30), Series(150), 0},
                      // Each slot holds one of the two source frames nearest its time.
                      SlotCase{"AFasterSourceThinnedToTheRunsRate", 30, 30, AtSlots(Series(120), 60), Series(30, 2), 0,
                               0ms, 1},
                      SlotCase{"JitterOfLessThanHalfASlot", 30, 60, AtSlots(Series(60), 30, 12000), Series(60), 0},
                      SlotCase{"AGapFilledOnlyUpToTheLimit", 10, 5, AtSlots({1, 50}, 10), Ints(5, 1), 4},
                      // The writer has caught up before slot 5, so the first repeats follow the frame it wrote.
                      SlotCase{"GapsRepeatingThePreviousFrame", 25, std::nullopt, AtSlots({0, 1, 2, 5, 6, 9}, 25),
                               Ints{0, 1, 2, 2, 2, 5, 6, 6, 6, 9}, 4, 0ms, 0, 3},
                      // Frames that stop coming: the run still ends once its 0.3 s are over, the last frame
                      // filling the rest; without any frame it ends empty.
                      SlotCase{"FramesStoppingBeforeTheLimit", 30, 9, AtSlots({0, 1, 2}, 30),
                               Ints{0, 1, 2, 2, 2, 2, 2, 2, 2}, 6, 300ms},
                      SlotCase{"NoFrameBeforeTheLimit", 30, 3, {}, {}, 0, 100ms},
                      SlotCase{"FramesOfOtherSizesScaledToTheMovie",
                               25,
                               std::nullopt,
                               {{40, 0}, {90, AtRate(1, 25), 33, 21}, {140, AtRate(2, 25), 8, 4}},
                               Ints{40, 90, 140},
                               0}),
    [](const ::testing::TestParamInfo<SlotCase>& param) { return param.param.name; });

TEST_F(RecorderTest, AFullQueueTurnsFramesIntoRepeatsOfTheLastQueuedOne) {
  auto settings = Settings(25);
  settings.queue_frames = 3;
  auto recorder = Started(settings);
  movie_.SetGate(false);
  recorder->OnFrame(Frame(0, 0));
  ASSERT_TRUE(movie_.WaitForWriterHeld());  // frame 0 is being written, the queue is empty
  for (int slot = 1; slot <= 6; ++slot) recorder->OnFrame(Frame(slot, AtRate(slot, 25)));
  EXPECT_EQ(recorder->FramesDropped(), 3);
  movie_.SetGate(true);
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(movie_.frames, (Ints{0, 1, 2, 3, 3, 3, 3}));
  EXPECT_EQ(recorder->FramesDropped(), 3);
}

TEST_F(RecorderTest, FrameByFrameTakesEveryAddedFrameAndNoSourceFrame) {
  auto settings = Settings(5);
  settings.pace = RecordingPace::FrameByFrame;
  settings.queue_frames = 2;
  auto recorder = Started(settings);
  for (int i = 0; i < 6; ++i) {
    recorder->OnFrame(Frame(99, AtRate(i, 5)));
    recorder->AddFrame(Flat(10 + i));
  }
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(movie_.frames, (Ints{10, 11, 12, 13, 14, 15}));
  EXPECT_EQ(recorder->FramesDropped(), 0);
}

// ---- The end ---------------------------------------------------------------------------------

TEST_F(RecorderTest, AWriteFailureEndsTheRunClosesTheFileAndStopsTheClock) {
  movie_.fail_at_frame = 2;
  auto recorder = Started(Settings(25));
  std::this_thread::sleep_for(30ms);
  EXPECT_GE(recorder->ElapsedMs(), 30);
  for (int i = 0; i < 5; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
  recorder->Wait();  // no stop asked: the failure ends it
  EXPECT_EQ(seen_.end, RecordingEnd::WriteFailed);
  EXPECT_NE(seen_.why.message.find("the disk is full"), std::string::npos);
  EXPECT_EQ(seen_.why.system_error, ENOSPC);
  EXPECT_TRUE(movie_.closed);
  EXPECT_EQ(recorder->FramesWritten(), 2);
  EXPECT_FALSE(recorder->Running());
  const std::int64_t at_end = recorder->ElapsedMs();
  EXPECT_GE(at_end, 30);
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(recorder->ElapsedMs(), at_end);
}

TEST_F(RecorderTest, DestroyingARunningRecorderClosesTheFile) {
  auto recorder = Started(Settings(25));
  for (int i = 0; i < 3; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
  recorder.reset();
  EXPECT_EQ(movie_.frames, (Ints{0, 1, 2}));
  EXPECT_TRUE(movie_.closed);
  EXPECT_EQ(seen_.calls, 1);
  EXPECT_EQ(seen_.end, RecordingEnd::Stopped);
}

TEST_F(RecorderTest, AnEndHandlerMayLetGoOfTheRecorder) {
  std::promise<void> handled;
  std::shared_ptr<Recorder> recorder;
  recorder = std::make_shared<Recorder>(movie_, Settings(25, 1), [&](RecordingEnd, const Error&) {
    recorder.reset();  // the last owner, on the writer thread
    handled.set_value();
  });
  ASSERT_TRUE(recorder->Start());
  std::weak_ptr<Recorder> watched = recorder;
  recorder->OnFrame(Frame(0, 0));
  ASSERT_EQ(handled.get_future().wait_for(5s), std::future_status::ready);
  EXPECT_TRUE(watched.expired());
}

TEST_F(RecorderTest, AFileThatCannotBeOpenedStartsNothing) {
  movie_.refuse_to_open = true;
  auto recorder = Make(Settings(25));
  const auto started = recorder->Start();
  ASSERT_FALSE(started);
  EXPECT_EQ(started.error().message, "no room for the file");
  EXPECT_FALSE(recorder->Running());
  recorder->Wait();
  recorder.reset();
  EXPECT_EQ(seen_.calls, 0);
}

// ---- Sound ----------------------------------------------------------------------------------

// 8000 sample frames a second at 25 frames a second: 320 sample frames a frame.
RecordingSettings WithSound(RecordingSettings settings, int bits) {
  settings.format.audio = AudioFormat{8000, 1, bits};
  return settings;
}

class RecorderSoundLength : public RecorderTest, public ::testing::WithParamInterface<std::tuple<int, int>> {};

TEST_P(RecorderSoundLength, StartsAtTheFirstFrameAndIsCutOrPaddedWithSilenceOfItsKindToThePictures) {
  const auto [bits, sample_frames] = GetParam();
  auto recorder = Started(WithSound(Settings(25), bits));
  recorder->OnAudio(Bytes(640, 0x33), 0);  // before the first frame: it has no picture to go with
  for (int i = 0; i < 10; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
  ASSERT_TRUE(WaitForFrames(*recorder, 10));
  // Late sound, owed to frames already written, comes in before the end.
  const Bytes sound = Counting(static_cast<std::size_t>(sample_frames * bits / 8), 1);
  recorder->OnAudio(sound, 0);
  recorder->RequestStop();
  recorder->Wait();
  const std::size_t bytes = 3200u * static_cast<std::size_t>(bits / 8);
  ASSERT_EQ(movie_.audio.size(), bytes);
  const auto kept = static_cast<std::ptrdiff_t>(std::min(sound.size(), bytes));
  EXPECT_TRUE(std::equal(sound.begin(), sound.begin() + kept, movie_.audio.begin()));
  const std::uint8_t silence = bits == 8 ? 0x80 : 0x00;
  EXPECT_TRUE(std::all_of(movie_.audio.begin() + kept, movie_.audio.end(), [&](auto b) { return b == silence; }));
  EXPECT_EQ(recorder->AudioSampleFrames(), 3200);
}

INSTANTIATE_TEST_SUITE_P(BitsAndLengths, RecorderSoundLength,
                         ::testing::Combine(::testing::Values(8, 16), ::testing::Values(1000, 8000)));

TEST_F(RecorderTest, MissingSoundBecomesSilenceWhileTheRunGoesOn) {
  auto recorder = Started(WithSound(Settings(25), 16));
  for (int i = 0; i < 40; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));  // 1.6 s
  ASSERT_TRUE(WaitForFrames(*recorder, 40));
  // Never more than half a second of sound is owed while frames are written.
  EXPECT_GE(recorder->AudioSampleFrames(), 40 * 320 - 4000);
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(movie_.audio, Bytes(40 * 320 * 2, 0));
}

TEST_F(RecorderTest, SoundWaitingTooLongGivesWayToNewerSound) {
  auto recorder = Started(WithSound(Settings(25), 8));
  movie_.SetGate(false);
  recorder->OnFrame(Frame(0, 0));
  ASSERT_TRUE(movie_.WaitForWriterHeld());
  // Five seconds of sound, each second's samples holding the second's number.
  for (std::uint8_t second = 0; second < 5; ++second) recorder->OnAudio(Bytes(8000, second), 0);
  movie_.SetGate(true);
  recorder->RequestStop();
  recorder->Wait();
  ASSERT_EQ(movie_.audio.size(), 320u);
  EXPECT_EQ(movie_.audio.front(), 2);  // the buffer kept the last three seconds
}

// ---- Real movies ------------------------------------------------------------------------------

// 64 x 48 movies written to a real file.
class RecordedMovieTest : public RecorderTest {
 protected:
  void SetUp() override { files_used_fake_ = false; }
  RecordingSettings FileSettings(double fps, std::optional<std::int64_t> limit) {
    auto settings = Settings(fps, limit);
    std::tie(settings.path, settings.format.width, settings.format.height) = std::tuple(Path(), 64, 48);
    return settings;
  }
  std::string Path() const { return folder_.File("run.avi"); }

  FfmpegMovieFiles files_;
  zr::testing::TemporaryFolder folder_;
};

TEST_F(RecordedMovieTest, AFiveSecondRunHoldsExactly150FramesAndFiveSecondsOfSound) {
  auto recorder = Started(WithSound(FileSettings(30, 150), 16), &files_);
  recorder->OnFrame(Frame(0, 0, 64, 48));
  recorder->OnAudio(Bytes(2 * 16000, 0x22), 0);  // two seconds; the rest is silence
  for (int i = 1; i < 170; ++i) recorder->OnFrame(Frame(i, AtRate(i, 30), 64, 48));
  recorder->Wait();
  EXPECT_EQ(recorder->FramesDropped(), 0);
  EXPECT_EQ(seen_.end, RecordingEnd::LimitReached);
  const auto info = files_.ReadInfo(Path());
  ASSERT_TRUE(zr::testing::Ok(info));
  EXPECT_EQ(info->frame_count, 150);
  EXPECT_NEAR(info->duration_seconds, 5.0, 1e-6);
  const std::string sound = zr::testing::RunCommand("ffmpeg -v error -i '" + Path() + "' -map 0:a -c copy -f data -");
  EXPECT_TRUE(sound == std::string(2 * 16000, '\x22') + std::string(2 * 24000, '\0'))
      << sound.size() << " bytes of sound";
}

TEST_F(RecordedMovieTest, ARunEndedByItsSourceLeavesAPlayableMovieAndIsReportedOnceForThatReason) {
  auto recorder = Started(FileSettings(25, std::nullopt), &files_);
  for (int i = 0; i < 5; ++i) recorder->OnFrame(Frame(i * 40, AtRate(i, 25), i % 2 ? 32 : 64, 48));
  recorder->OnSourceEnded("The device /dev/video0 was unplugged");
  recorder->RequestStop();                               // a later reason is not reported
  recorder->OnFrame(Frame(200, AtRate(5, 25), 64, 48));  // nothing more is taken
  recorder->Wait();
  recorder->Wait();
  recorder.reset();
  EXPECT_EQ(seen_.calls, 1);
  EXPECT_EQ(seen_.end, RecordingEnd::SourceEnded);
  EXPECT_EQ(seen_.why.message, "The device /dev/video0 was unplugged");
  EXPECT_EQ(files_.ReadInfo(Path())->frame_count, 5);
  EXPECT_EQ(zr::testing::ProbeStream(Path(), 'v', "nb_read_frames")["nb_read_frames"], "5");
}

}  // namespace
}  // namespace zr::platform::linux_impl
