#include "platform/linux/recorder.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <filesystem>
#include <future>
#include <mutex>
#include <optional>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "platform/linux/ffmpeg_movie_files.h"
#include "tests/support/movie_probe.h"

namespace zr::platform::linux_impl {
namespace {

namespace fs = std::filesystem;
using namespace std::chrono_literals;

// ---- A movie that only remembers what it was given --------------------------------------------

// Every picture of these tests is one flat value; a movie frame is remembered by that value.
struct FakeMovie {
  std::mutex mutex;
  std::condition_variable changed;
  MovieFormat format;
  std::vector<int> frames;  // the value of each frame of the movie, repeats included
  std::vector<std::pair<int, int>> sizes;
  std::vector<std::uint8_t> audio;
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
};

class FakeWriter final : public MovieWriter {
 public:
  explicit FakeWriter(FakeMovie& movie) : movie_(movie) {}

  Result<void> WriteVideoFrame(const FrameView& frame) override {
    std::unique_lock lock(movie_.mutex);
    movie_.writer_held = !movie_.gate_open;
    movie_.changed.notify_all();
    movie_.changed.wait(lock, [&] { return movie_.gate_open; });
    movie_.writer_held = false;
    if (movie_.fail_at_frame == movie_.frames.size()) return Error{"the disk is full", "fake"};
    movie_.frames.push_back(frame.bottom_up_bgr[0]);
    movie_.sizes.emplace_back(frame.width, frame.height);
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

class FakeMovieFiles final : public MovieFiles {
 public:
  explicit FakeMovieFiles(FakeMovie& movie) : movie_(movie) {}
  Result<std::unique_ptr<MovieWriter>> OpenWriter(const std::string&,
                                                  const MovieFormat& format) override {
    if (movie_.refuse_to_open) return Error{"no room for the file", "fake"};
    movie_.format = format;
    return std::unique_ptr<MovieWriter>(std::make_unique<FakeWriter>(movie_));
  }
  Result<MovieInfo> ReadInfo(const std::string&) override { return Error{"not kept", "fake"}; }

 private:
  FakeMovie& movie_;
};

// ---- Frames and sound -----------------------------------------------------------------------

std::shared_ptr<const Picture> Flat(int value, int width = 16, int height = 8) {
  Picture picture = Picture::Blank(width, height);
  std::fill(picture.bottom_up_bgr.begin(), picture.bottom_up_bgr.end(),
            static_cast<std::uint8_t>(value));
  return std::make_shared<const Picture>(std::move(picture));
}

std::int64_t AtRate(std::int64_t frame, double fps) {
  return std::llround(static_cast<double>(frame) * 1e6 / fps);
}

CapturedFrame Frame(int value, std::int64_t timestamp_us, int width = 16, int height = 8) {
  return CapturedFrame{Flat(value, width, height), timestamp_us, 0};
}

struct EndSeen {
  int calls = 0;
  RecordingEnd end = RecordingEnd::Stopped;
  std::string message;
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
    return std::make_unique<Recorder>(files ? *files : fake_files_, std::move(settings),
                                      [this](RecordingEnd end, const std::string& message) {
                                        std::lock_guard lock(movie_.mutex);
                                        ++seen_.calls;
                                        seen_.end = end;
                                        seen_.message = message;
                                        seen_.file_closed_first =
                                            movie_.closed || !files_used_fake_;
                                      });
  }

  std::unique_ptr<Recorder> Started(RecordingSettings settings) {
    auto recorder = Make(std::move(settings));
    EXPECT_TRUE(recorder->Start());
    return recorder;
  }

  // Waits until the writer has written `frames` frames; false after a few seconds.
  static bool WaitForFrames(const Recorder& recorder, std::int64_t frames) {
    for (auto until = std::chrono::steady_clock::now() + 5s;
         std::chrono::steady_clock::now() < until;) {
      if (recorder.FramesWritten() >= frames) return true;
      std::this_thread::sleep_for(1ms);
    }
    return false;
  }

  std::vector<int> Values(std::initializer_list<int> values) { return values; }

  FakeMovie movie_;
  FakeMovieFiles fake_files_{movie_};
  bool files_used_fake_ = true;
  EndSeen seen_;
};

// ---- Timing of the slots ----------------------------------------------------------------------

TEST_F(RecorderTest, FramesAtTheRunsRateFillEverySlotUpToTheLimit) {
  auto recorder = Started(Settings(30, 150));
  for (int i = 0; i < 160; ++i) recorder->OnFrame(Frame(i, AtRate(i, 30)));
  recorder->Wait();
  EXPECT_EQ(recorder->FramesWritten(), 150);
  EXPECT_EQ(recorder->FramesDropped(), 0);
  ASSERT_EQ(movie_.frames.size(), 150u);
  for (int i = 0; i < 150; ++i) ASSERT_EQ(movie_.frames[i], i % 256) << "frame " << i;
  EXPECT_EQ(seen_.calls, 1);
  EXPECT_EQ(seen_.end, RecordingEnd::LimitReached);
  EXPECT_EQ(seen_.message, "");
  EXPECT_TRUE(seen_.file_closed_first);
  EXPECT_FALSE(recorder->Running());
}

TEST_F(RecorderTest, SlotsNoFrameReachedRepeatThePreviousFrameAndCountAsDropped) {
  auto recorder = Started(Settings(25));
  for (int slot : {0, 1, 2, 5, 6, 9}) recorder->OnFrame(Frame(slot, AtRate(slot, 25)));
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(movie_.frames, Values({0, 1, 2, 2, 2, 5, 6, 6, 6, 9}));
  EXPECT_EQ(recorder->FramesWritten(), 10);
  EXPECT_EQ(recorder->FramesDropped(), 4);
  EXPECT_EQ(seen_.end, RecordingEnd::Stopped);
}

TEST_F(RecorderTest, ARepeatAfterTheWriterCaughtUpRepeatsTheFrameItWrote) {
  auto recorder = Started(Settings(25));
  recorder->OnFrame(Frame(7, 0));
  ASSERT_TRUE(WaitForFrames(*recorder, 1));  // the queue is empty again
  recorder->OnFrame(Frame(8, AtRate(3, 25)));
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(movie_.frames, Values({7, 7, 7, 8}));
  EXPECT_EQ(recorder->FramesDropped(), 2);
}

TEST_F(RecorderTest, AFasterSourceIsThinnedToTheRunsRate) {
  auto recorder = Started(Settings(30, 30));
  for (int i = 0; i < 120; ++i) recorder->OnFrame(Frame(i, AtRate(i, 60)));
  recorder->Wait();
  ASSERT_EQ(movie_.frames.size(), 30u);
  EXPECT_EQ(recorder->FramesDropped(), 0);
  for (int slot = 0; slot < 30; ++slot) {
    // Each slot holds one of the two source frames nearest its time.
    EXPECT_NEAR(movie_.frames[slot], 2 * slot, 1) << "slot " << slot;
  }
  EXPECT_EQ(seen_.end, RecordingEnd::LimitReached);
}

TEST_F(RecorderTest, AJitteryDeliveryStillFillsEachSlotOnce) {
  auto recorder = Started(Settings(30, 60));
  for (int i = 0; i < 60; ++i) {
    const std::int64_t jitter_us = i % 3 == 1 ? 12000 : i % 3 == 2 ? -12000 : 0;
    recorder->OnFrame(Frame(i, AtRate(i, 30) + jitter_us));
  }
  recorder->Wait();
  EXPECT_EQ(recorder->FramesWritten(), 60);
  EXPECT_EQ(recorder->FramesDropped(), 0);
  ASSERT_EQ(movie_.frames.size(), 60u);
  for (int i = 0; i < 60; ++i) EXPECT_EQ(movie_.frames[i], i);
}

TEST_F(RecorderTest, AGapBeforeTheLimitIsFilledOnlyUpToTheLimit) {
  auto recorder = Started(Settings(10, 5));
  recorder->OnFrame(Frame(1, 0));
  recorder->OnFrame(Frame(2, AtRate(50, 10)));  // far beyond the fifth slot
  recorder->Wait();
  EXPECT_EQ(movie_.frames, Values({1, 1, 1, 1, 1}));
  EXPECT_EQ(recorder->FramesDropped(), 4);
  EXPECT_EQ(seen_.end, RecordingEnd::LimitReached);
}

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
  EXPECT_EQ(movie_.frames, Values({0, 1, 2, 3, 3, 3, 3}));
  EXPECT_EQ(recorder->FramesDropped(), 3);
}

TEST_F(RecorderTest, ALimitedRunEndsOnTimeWhenFramesStopComing) {
  auto recorder = Started(Settings(30, 9));  // 0.3 s
  const auto started = std::chrono::steady_clock::now();
  for (int i = 0; i < 3; ++i) recorder->OnFrame(Frame(i, AtRate(i, 30)));
  recorder->Wait();
  const auto took = std::chrono::steady_clock::now() - started;
  EXPECT_GE(took, 300ms);
  EXPECT_LT(took, 3s);
  EXPECT_EQ(movie_.frames, Values({0, 1, 2, 2, 2, 2, 2, 2, 2}));
  EXPECT_EQ(recorder->FramesDropped(), 6);
  EXPECT_EQ(seen_.end, RecordingEnd::LimitReached);
}

TEST_F(RecorderTest, ALimitedRunWithoutAnyFrameEndsEmptyOnTime) {
  auto recorder = Started(Settings(30, 3));
  recorder->Wait();
  EXPECT_TRUE(movie_.frames.empty());
  EXPECT_TRUE(movie_.closed);
  EXPECT_EQ(seen_.end, RecordingEnd::LimitReached);
}

// ---- Pictures -------------------------------------------------------------------------------

TEST_F(RecorderTest, FramesOfAnotherSizeAreScaledToTheMovie) {
  auto recorder = Started(Settings(25));
  recorder->OnFrame(Frame(40, 0));
  recorder->OnFrame(Frame(90, AtRate(1, 25), 33, 21));
  recorder->OnFrame(Frame(140, AtRate(2, 25), 8, 4));
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(movie_.frames, Values({40, 90, 140}));  // a flat picture stays flat
  for (const auto& size : movie_.sizes) EXPECT_EQ(size, std::pair(16, 8));
}

TEST_F(RecorderTest, FrameByFrameTakesEveryAddedFrameAndNoSourceFrame) {
  auto settings = Settings(5);
  settings.pace = RecordingPace::FrameByFrame;
  settings.queue_frames = 2;
  auto recorder = Started(settings);
  for (int i = 0; i < 6; ++i) {
    recorder->AddFrame(Flat(10 + i));
    recorder->OnFrame(Frame(99, AtRate(i, 5)));
  }
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(movie_.frames, Values({10, 11, 12, 13, 14, 15}));
  EXPECT_EQ(recorder->FramesDropped(), 0);
}

// ---- The end ---------------------------------------------------------------------------------

TEST_F(RecorderTest, TheSourcesEndClosesTheRunWithItsMessage) {
  auto recorder = Started(Settings(25, 100));
  for (int i = 0; i < 4; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
  recorder->OnSourceEnded("The stream has ended");
  recorder->OnFrame(Frame(4, AtRate(4, 25)));  // nothing more is taken
  recorder->Wait();
  EXPECT_EQ(movie_.frames, Values({0, 1, 2, 3}));
  EXPECT_EQ(seen_.end, RecordingEnd::SourceEnded);
  EXPECT_EQ(seen_.message, "The stream has ended");
}

TEST_F(RecorderTest, AWriteFailureEndsTheRunAndClosesTheFile) {
  movie_.fail_at_frame = 2;
  auto recorder = Started(Settings(25));
  for (int i = 0; i < 5; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
  recorder->Wait();  // no stop asked: the failure ends it
  EXPECT_EQ(seen_.end, RecordingEnd::WriteFailed);
  EXPECT_NE(seen_.message.find("the disk is full"), std::string::npos);
  EXPECT_TRUE(movie_.closed);
  EXPECT_EQ(recorder->FramesWritten(), 2);
  EXPECT_FALSE(recorder->Running());
}

TEST_F(RecorderTest, TheEndHandlerRunsOnceWithTheFirstReason) {
  auto recorder = Started(Settings(25, 2));
  recorder->OnSourceEnded("The camera does not answer");
  recorder->RequestStop();
  recorder->OnFrame(Frame(0, 0));
  recorder->Wait();
  recorder->Wait();
  recorder.reset();
  EXPECT_EQ(seen_.calls, 1);
  EXPECT_EQ(seen_.end, RecordingEnd::SourceEnded);
}

TEST_F(RecorderTest, DestroyingARunningRecorderClosesTheFile) {
  auto recorder = Started(Settings(25));
  for (int i = 0; i < 3; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
  recorder.reset();
  EXPECT_EQ(movie_.frames, Values({0, 1, 2}));
  EXPECT_TRUE(movie_.closed);
  EXPECT_EQ(seen_.calls, 1);
  EXPECT_EQ(seen_.end, RecordingEnd::Stopped);
}

TEST_F(RecorderTest, AnEndHandlerMayLetGoOfTheRecorder) {
  std::promise<void> handled;
  std::shared_ptr<Recorder> recorder;
  recorder = std::make_shared<Recorder>(fake_files_, Settings(25, 1),
                                        [&](RecordingEnd, const std::string&) {
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

TEST_F(RecorderTest, TheElapsedTimeStopsAtTheEnd) {
  auto recorder = Started(Settings(25));
  std::this_thread::sleep_for(30ms);
  EXPECT_GE(recorder->ElapsedMs(), 30);
  recorder->RequestStop();
  recorder->Wait();
  const std::int64_t at_end = recorder->ElapsedMs();
  std::this_thread::sleep_for(20ms);
  EXPECT_EQ(recorder->ElapsedMs(), at_end);
}

// ---- Sound ----------------------------------------------------------------------------------

class RecorderSoundTest : public RecorderTest {
 protected:
  // 8000 sample frames a second at 25 frames a second: 320 sample frames a frame.
  RecordingSettings SoundSettings(int bits, std::optional<std::int64_t> limit = std::nullopt) {
    auto settings = Settings(25, limit);
    settings.format.audio = AudioFormat{8000, 1, bits};
    return settings;
  }
  static std::vector<std::uint8_t> Counting(std::size_t bytes, int offset = 0) {
    std::vector<std::uint8_t> pcm(bytes);
    for (std::size_t i = 0; i < bytes; ++i) pcm[i] = static_cast<std::uint8_t>(i * 7 + offset);
    return pcm;
  }
};

TEST_F(RecorderSoundTest, SoundLongerThanTheVideoIsCutToIt) {
  auto recorder = Started(SoundSettings(8, 10));
  recorder->OnFrame(Frame(0, 0));
  const auto sound = Counting(8000);  // a second
  recorder->OnAudio(sound, 0);
  for (int i = 1; i < 10; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
  recorder->Wait();
  ASSERT_EQ(movie_.audio.size(), 3200u);
  EXPECT_TRUE(std::equal(movie_.audio.begin(), movie_.audio.end(), sound.begin()));
  EXPECT_EQ(recorder->AudioSampleFrames(), 3200);
}

TEST_F(RecorderSoundTest, SoundShorterThanTheVideoIsPaddedWithSilenceOfItsKind) {
  for (const int bits : {8, 16}) {
    SCOPED_TRACE(bits);
    movie_.audio.clear();
    auto recorder = Started(SoundSettings(bits, 10));
    recorder->OnFrame(Frame(0, 0));
    const auto sound = Counting(1000 * bits / 8, 1);
    recorder->OnAudio(sound, 0);
    for (int i = 1; i < 10; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));
    recorder->Wait();
    const std::size_t bytes_per_sample = bits / 8;
    ASSERT_EQ(movie_.audio.size(), 3200 * bytes_per_sample);
    EXPECT_TRUE(std::equal(sound.begin(), sound.end(), movie_.audio.begin()));
    const std::uint8_t silence = bits == 8 ? 0x80 : 0x00;
    EXPECT_TRUE(std::all_of(movie_.audio.begin() + static_cast<std::ptrdiff_t>(sound.size()),
                            movie_.audio.end(), [&](std::uint8_t b) { return b == silence; }));
  }
}

TEST_F(RecorderSoundTest, SoundBeforeTheFirstFrameIsLeftOut) {
  auto recorder = Started(SoundSettings(8, 2));
  recorder->OnAudio(Counting(640, 3), 0);
  recorder->OnFrame(Frame(0, 0));
  recorder->OnAudio(std::vector<std::uint8_t>(640, 0x11), 0);
  recorder->OnFrame(Frame(1, AtRate(1, 25)));
  recorder->Wait();
  EXPECT_EQ(movie_.audio, std::vector<std::uint8_t>(640, 0x11));
}

TEST_F(RecorderSoundTest, MissingSoundBecomesSilenceWhileTheRunGoesOn) {
  auto recorder = Started(SoundSettings(16));
  for (int i = 0; i < 40; ++i) recorder->OnFrame(Frame(i, AtRate(i, 25)));  // 1.6 s
  ASSERT_TRUE(WaitForFrames(*recorder, 40));
  // Never more than half a second of sound is owed while frames are written.
  EXPECT_GE(recorder->AudioSampleFrames(), 40 * 320 - 4000);
  recorder->RequestStop();
  recorder->Wait();
  EXPECT_EQ(recorder->AudioSampleFrames(), 40 * 320);
  EXPECT_EQ(movie_.audio, std::vector<std::uint8_t>(40 * 320 * 2, 0));
}

TEST_F(RecorderSoundTest, SoundWaitingTooLongGivesWayToNewerSound) {
  auto recorder = Started(SoundSettings(8));
  movie_.SetGate(false);
  recorder->OnFrame(Frame(0, 0));
  ASSERT_TRUE(movie_.WaitForWriterHeld());
  // Five seconds of sound, each second's samples holding the second's number.
  for (std::uint8_t second = 0; second < 5; ++second) {
    recorder->OnAudio(std::vector<std::uint8_t>(8000, second), 0);
  }
  movie_.SetGate(true);
  recorder->RequestStop();
  recorder->Wait();
  ASSERT_EQ(movie_.audio.size(), 320u);
  EXPECT_EQ(movie_.audio.front(), 2);  // the buffer kept the last three seconds
}

// ---- Real movies ------------------------------------------------------------------------------

using zr::testing::RunCommand;

class RecordedMovieTest : public RecorderTest {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zr_recorder_XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
    files_used_fake_ = false;
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  RecordingSettings FileSettings(double fps, std::optional<std::int64_t> limit) {
    auto settings = Settings(fps, limit);
    settings.path = (folder_ / "run.avi").string();
    settings.format.width = 64;
    settings.format.height = 48;
    return settings;
  }

  FfmpegMovieFiles files_;
  fs::path folder_;
};

TEST_F(RecordedMovieTest, AFiveSecondRunOfAThirtyFrameSourceHoldsExactly150Frames) {
  auto recorder = Make(FileSettings(30, 150), &files_);
  ASSERT_TRUE(recorder->Start());
  for (int i = 0; i < 170; ++i) recorder->OnFrame(Frame(i, AtRate(i, 30), 64, 48));
  recorder->Wait();
  const auto info = files_.ReadInfo((folder_ / "run.avi").string());
  ASSERT_TRUE(info) << info.error().message;
  EXPECT_EQ(info->frame_count, 150);
  EXPECT_NEAR(info->duration_seconds, 5.0, 1e-6);
  EXPECT_EQ(recorder->FramesDropped(), 0);
  EXPECT_EQ(seen_.end, RecordingEnd::LimitReached);
}

TEST_F(RecordedMovieTest, TheSoundTrackEndsWithTheVideo) {
  auto settings = FileSettings(30, 30);
  settings.format.audio = AudioFormat{8000, 1, 16};
  auto recorder = Make(settings, &files_);
  ASSERT_TRUE(recorder->Start());
  recorder->OnFrame(Frame(0, 0, 64, 48));
  recorder->OnAudio(std::vector<std::uint8_t>(2 * 11000, 0x22), 0);  // 1.375 s
  for (int i = 1; i < 30; ++i) recorder->OnFrame(Frame(i, AtRate(i, 30), 64, 48));
  recorder->Wait();
  const std::string path = settings.path;
  const std::string sound =
      RunCommand("ffmpeg -v error -i '" + path + "' -map 0:a -c copy -f data -");
  EXPECT_EQ(sound.size(), 2u * 8000);  // 30 frames at 30 a second
  EXPECT_EQ(files_.ReadInfo(path)->frame_count, 30);
}

TEST_F(RecordedMovieTest, ARunEndedByItsSourceLeavesAPlayableMovie) {
  auto recorder = Make(FileSettings(25, std::nullopt), &files_);
  ASSERT_TRUE(recorder->Start());
  for (int i = 0; i < 5; ++i) recorder->OnFrame(Frame(i * 40, AtRate(i, 25), i % 2 ? 32 : 64, 48));
  recorder->OnSourceEnded("The device /dev/video0 was unplugged");
  recorder->Wait();
  EXPECT_EQ(seen_.end, RecordingEnd::SourceEnded);
  const std::string path = (folder_ / "run.avi").string();
  EXPECT_EQ(files_.ReadInfo(path)->frame_count, 5);
  EXPECT_EQ(RunCommand("ffprobe -v error -count_frames -select_streams v:0 -show_entries "
                       "stream=nb_read_frames -of csv=p=0 '" +
                       path + "'"),
            "5\n");
}

}  // namespace
}  // namespace zr::platform::linux_impl
