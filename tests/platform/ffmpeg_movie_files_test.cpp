#include "platform/linux/ffmpeg_movie_files.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "platform/linux/compressors.h"
#include "tests/support/platform_checks.h"
#include "tests/support/movie_probe.h"

namespace zr::platform::linux_impl {
namespace {

using zr::testing::Ok;
using zr::testing::ProbeStream;
using zr::testing::RunCommand;

namespace fs = std::filesystem;

struct Bgr {
  std::uint8_t blue, green, red;
};

// A picture as the program holds it: bottom row first, rows padded to four bytes plus extra.
class Picture {
 public:
  Picture(int width, int height, const std::function<Bgr(int x, int y_from_top)>& paint,
          int extra_stride = 0)
      : width_(width),
        height_(height),
        stride_((width * 3 + 3) / 4 * 4 + extra_stride),
        bytes_(static_cast<std::size_t>(stride_ * height), 0xEE) {
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const Bgr pixel = paint(x, y);
        std::uint8_t* at = &bytes_[static_cast<std::size_t>((height - 1 - y) * stride_ + x * 3)];
        at[0] = pixel.blue;
        at[1] = pixel.green;
        at[2] = pixel.red;
      }
    }
  }
  FrameView View() const { return {width_, height_, stride_, bytes_.data()}; }

 private:
  int width_, height_, stride_;
  std::vector<std::uint8_t> bytes_;
};

// Every pixel differs from its neighbours, so misplaced rows or columns show.
Bgr Pattern(int x, int y) {
  return {static_cast<std::uint8_t>(x * 7 + y), static_cast<std::uint8_t>(y * 5),
          static_cast<std::uint8_t>(x ^ y)};
}


// The first picture decoded by the ffmpeg tool, top row first, RGB.
std::string DecodeFirstFrame(const std::string& path) {
  return RunCommand("ffmpeg -v error -i '" + path + "' -frames:v 1 -f rawvideo -pix_fmt rgb24 -");
}

class MovieFileTest : public ::testing::Test {
 protected:
  void SetUp() override {
    std::string pattern = (fs::temp_directory_path() / "zr_movie_XXXXXX").string();
    ASSERT_NE(mkdtemp(pattern.data()), nullptr);
    folder_ = pattern;
  }
  void TearDown() override {
    std::error_code ignored;
    fs::remove_all(folder_, ignored);
  }

  std::string File(const std::string& name) const { return (folder_ / name).string(); }

  // Writes `frames` copies of the picture and closes the movie.
  ::testing::AssertionResult Write(const std::string& path, const MovieFormat& format,
                                 const Picture& picture, int frames) {
    auto writer = files_.OpenWriter(path, format);
    if (!writer) return Ok(writer);
    for (int i = 0; i < frames; ++i) {
      if (auto written = (*writer)->WriteVideoFrame(picture.View()); !written) return Ok(written);
    }
    return Ok((*writer)->Close());
  }

  FfmpegMovieFiles files_;
  fs::path folder_;
};

// What the reader reports as the stored tag, and how ffprobe spells it.
std::string ReadFourcc(VideoCodec codec) {
  switch (codec) {
    case VideoCodec::Uncompressed:
      return "DIB ";
    case VideoCodec::Mjpeg:
      return "MJPG";
    case VideoCodec::Mpeg4:
      return "DX50";
    case VideoCodec::H264:
      return "H264";
    case VideoCodec::Ffv1:
      return "FFV1";
    case VideoCodec::HuffYuv:
      return "HFYU";
  }
  return "?";
}

std::string ProbedTag(VideoCodec codec) {
  return codec == VideoCodec::Uncompressed ? "[0][0][0][0]" : ReadFourcc(codec);
}

std::string CodecName(const ::testing::TestParamInfo<VideoCodec>& codec) {
  const std::string fourcc = ReadFourcc(codec.param);
  return fourcc == "DIB " ? "DIB" : fourcc;
}

// What ffmpeg's decoders say about a movie while decoding all of it: nothing when it is sound.
std::string DecodingComplaints(const std::string& path) {
  return RunCommand("ffmpeg -v error -i '" + path + "' -f null - 2>&1");
}

// ---- Frame count, size, tag and rate, as the reader and ffprobe see them -------------------

struct MovieCase {
  VideoCodec codec;
  int width, height;
  double fps;
  std::string stored_rate;
  int frames = 3;
};

void PrintTo(const MovieCase& c, std::ostream* out) {
  *out << ReadFourcc(c.codec) << " " << c.width << "x" << c.height << " at " << c.fps;
}

class WrittenMovie : public MovieFileTest, public ::testing::WithParamInterface<MovieCase> {
 protected:
  std::string WriteCase() {
    const MovieCase& c = GetParam();
    const std::string path = File("movie.avi");
    EXPECT_TRUE(Write(path, {c.width, c.height, c.fps, c.codec, 75, {}},
                      Picture(c.width, c.height, Pattern), c.frames));
    return path;
  }
};

TEST_P(WrittenMovie, ReadsBackAsWritten) {
  const MovieCase& c = GetParam();
  const auto info = files_.ReadInfo(WriteCase());
  ASSERT_TRUE(Ok(info));
  EXPECT_EQ(info.value().frame_count, c.frames);
  EXPECT_EQ(info.value().width, c.width);
  EXPECT_EQ(info.value().height, c.height);
  EXPECT_EQ(info.value().fourcc, ReadFourcc(c.codec));
  EXPECT_NEAR(info.value().frames_per_second, c.fps, 1e-3);
  EXPECT_NEAR(info.value().duration_seconds, c.frames / c.fps, 1e-3);
  EXPECT_FALSE(info.value().audio.has_value());
}

TEST_P(WrittenMovie, FfprobeSeesTheFramesSizeTagAndExactRate) {
  const MovieCase& c = GetParam();
  auto probed =
      ProbeStream(WriteCase(), 'v', "nb_read_frames,width,height,codec_tag_string,r_frame_rate");
  EXPECT_EQ(probed["nb_read_frames"], std::to_string(c.frames));
  EXPECT_EQ(probed["width"], std::to_string(c.width));
  EXPECT_EQ(probed["height"], std::to_string(c.height));
  EXPECT_EQ(probed["codec_tag_string"], ProbedTag(c.codec));
  EXPECT_EQ(probed["r_frame_rate"], c.stored_rate);
}

TEST_P(WrittenMovie, DecodesWithoutComplaint) { EXPECT_EQ(DecodingComplaints(WriteCase()), ""); }

INSTANTIATE_TEST_SUITE_P(
    SizesRatesAndCodecs, WrittenMovie,
    ::testing::Values(MovieCase{VideoCodec::Uncompressed, 320, 240, 25, "25/1", 5},
                    MovieCase{VideoCodec::Uncompressed, 161, 121, 29.97, "30000/1001", 4},
                    MovieCase{VideoCodec::Uncompressed, 1, 1, 10, "10/1"},
                    MovieCase{VideoCodec::Mjpeg, 320, 240, 29.97, "30000/1001", 5},
                    MovieCase{VideoCodec::Mjpeg, 161, 121, 10, "10/1"},
                    MovieCase{VideoCodec::Mjpeg, 64, 48, 23.976, "24000/1001"},
                    MovieCase{VideoCodec::Mjpeg, 2, 2, 12.5, "25/2"},
                    MovieCase{VideoCodec::Mpeg4, 320, 240, 29.97, "30000/1001", 20},
                    MovieCase{VideoCodec::Mpeg4, 161, 121, 10, "10/1"},
                    MovieCase{VideoCodec::H264, 320, 240, 25, "25/1", 30},
                    MovieCase{VideoCodec::H264, 2, 2, 23.976, "24000/1001"},
                    MovieCase{VideoCodec::Ffv1, 320, 240, 25, "25/1", 5},
                    MovieCase{VideoCodec::Ffv1, 161, 121, 29.97, "30000/1001"},
                    MovieCase{VideoCodec::HuffYuv, 320, 240, 15, "15/1", 5},
                    MovieCase{VideoCodec::HuffYuv, 161, 121, 29.97, "30000/1001"}));

// ---- Pictures -------------------------------------------------------------------------------

using PictureCase = std::tuple<VideoCodec, int, int>;
class WrittenPicture : public MovieFileTest, public ::testing::WithParamInterface<PictureCase> {};

// Blue top left, green top right, red bottom left, white bottom right.
Bgr Quadrant(int x, int y, int width, int height) {
  const bool right = x >= width / 2, bottom = y >= height / 2;
  if (bottom) return right ? Bgr{255, 255, 255} : Bgr{0, 0, 255};
  return right ? Bgr{0, 255, 0} : Bgr{255, 0, 0};
}

TEST_P(WrittenPicture, IsUprightAndUnmirrored) {
  const auto [codec, width, height] = GetParam();
  const std::string path = File("quadrants.avi");
  const auto paint = [&](int x, int y) { return Quadrant(x, y, width, height); };
  ASSERT_TRUE(Write(path, {width, height, 25, codec, 100, {}}, Picture(width, height, paint), 1));
  const std::string rgb = DecodeFirstFrame(path);
  ASSERT_EQ(rgb.size(), static_cast<std::size_t>(width * height * 3));
  for (const int x : {width / 4, 3 * width / 4}) {
    for (const int y : {height / 4, 3 * height / 4}) {
      const Bgr expected = Quadrant(x, y, width, height);
      const auto* got = reinterpret_cast<const std::uint8_t*>(&rgb[(y * width + x) * 3]);
      EXPECT_NEAR(got[0], expected.red, 6) << "at " << x << "," << y;
      EXPECT_NEAR(got[1], expected.green, 6) << "at " << x << "," << y;
      EXPECT_NEAR(got[2], expected.blue, 6) << "at " << x << "," << y;
    }
  }
}

INSTANTIATE_TEST_SUITE_P(CodecsOfAnySizeEvenAndOdd, WrittenPicture,
                         ::testing::Combine(::testing::Values(VideoCodec::Uncompressed,
                                                          VideoCodec::Mjpeg, VideoCodec::Mpeg4,
                                                          VideoCodec::Ffv1, VideoCodec::HuffYuv),
                                          ::testing::Values(320, 161), ::testing::Values(240, 121)));
INSTANTIATE_TEST_SUITE_P(H264Even, WrittenPicture,
                         ::testing::Combine(::testing::Values(VideoCodec::H264),
                                          ::testing::Values(320, 162), ::testing::Values(240, 122)));

using SizeAndPadding = std::tuple<int, int, int>;  // width, height, extra bytes a row
class LosslessPixels : public MovieFileTest,
                       public ::testing::WithParamInterface<std::tuple<VideoCodec, SizeAndPadding>> {
};

TEST_P(LosslessPixels, ComeBackExactly) {
  const auto [codec, size] = GetParam();
  const auto [width, height, extra_stride] = size;
  const std::string path = File("pattern.avi");
  const MovieFormat format{width, height, 10, codec, 90, {}};
  ASSERT_TRUE(Write(path, format, Picture(width, height, Pattern, extra_stride), 1));
  std::string expected;
  for (int y = 0; y < height; ++y) {
    for (int x = 0; x < width; ++x) {
      const Bgr pixel = Pattern(x, y);
      expected += {static_cast<char>(pixel.red), static_cast<char>(pixel.green),
                   static_cast<char>(pixel.blue)};
    }
  }
  EXPECT_TRUE(DecodeFirstFrame(path) == expected);
}

INSTANTIATE_TEST_SUITE_P(
    CodecsAndRowPaddings, LosslessPixels,
    ::testing::Combine(::testing::Values(VideoCodec::Uncompressed, VideoCodec::Ffv1,
                                     VideoCodec::HuffYuv),
                     ::testing::Values(std::tuple{161, 121, 0}, std::tuple{320, 240, 0},
                                     std::tuple{3, 2, 8}, std::tuple{1, 5, 0})));

// Soft gradients under a fine grain that moves from frame to frame: detail that rewards every
// extra bit up to high rates.
Picture Grain(int width, int height, std::uint32_t seed) {
  return Picture(width, height, [&](int x, int y) {
    seed = seed * 1664525u + 1013904223u;
    const int grain = static_cast<int>(seed >> 27) - 16;
    return Bgr{static_cast<std::uint8_t>(std::clamp(x + grain + 40, 0, 255)),
               static_cast<std::uint8_t>(std::clamp(y * 2 + grain + 20, 0, 255)),
               static_cast<std::uint8_t>(std::clamp((x + y) / 2 + grain + 60, 0, 255))};
  });
}

// A codec's quality or bit rate, from the least to the most detail kept.
struct DetailCase {
  VideoCodec codec;
  std::vector<std::pair<int, int>> quality_and_kbps;
};

void PrintTo(const DetailCase& c, std::ostream* out) {
  *out << ReadFourcc(c.codec)
       << (c.quality_and_kbps[0].second > 0 ? " by bit rate" : " by quality");
}

class MoreDetail : public MovieFileTest, public ::testing::WithParamInterface<DetailCase> {};

TEST_P(MoreDetail, MakesALargerMovie) {
  const DetailCase& c = GetParam();
  std::uintmax_t previous_size = 0;
  for (const auto& [quality, kbps] : c.quality_and_kbps) {
    const std::string path =
        File("q" + std::to_string(quality) + "k" + std::to_string(kbps) + ".avi");
    auto writer = files_.OpenWriter(path, {160, 120, 25, c.codec, quality, {}, kbps});
    ASSERT_TRUE(Ok(writer));
    for (std::uint32_t frame = 0; frame < 6; ++frame) {
      ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(Grain(160, 120, frame).View())));
    }
    ASSERT_TRUE(Ok((*writer)->Close()));
    EXPECT_GT(fs::file_size(path), previous_size)
        << "quality " << quality << ", " << kbps << " kbit/s";
    previous_size = fs::file_size(path);
  }
}

INSTANTIATE_TEST_SUITE_P(
    QualitiesAndBitRates, MoreDetail,
    ::testing::Values(DetailCase{VideoCodec::Mjpeg, {{1, 0}, {50, 0}, {100, 0}}},
                    DetailCase{VideoCodec::Mpeg4, {{1, 0}, {50, 0}, {100, 0}}},
                    DetailCase{VideoCodec::Mpeg4, {{90, 30}, {90, 100}, {90, 300}}},
                    DetailCase{VideoCodec::H264, {{1, 0}, {50, 0}, {100, 0}}},
                    DetailCase{VideoCodec::H264, {{90, 200}, {90, 2000}, {90, 20000}}}));

// ---- Repeated frames ------------------------------------------------------------------------

class RepeatedFrames : public MovieFileTest, public ::testing::WithParamInterface<VideoCodec> {
 protected:
  // The mean level of each decoded frame, in order.
  std::vector<int> DecodedLevels(const std::string& path, int width, int height) {
    const std::string rgb = RunCommand("ffmpeg -v error -i '" + path +
                                       "' -fps_mode passthrough -f rawvideo -pix_fmt gray -");
    std::vector<int> levels;
    const std::size_t frame_size = static_cast<std::size_t>(width * height);
    for (std::size_t at = 0; at + frame_size <= rgb.size(); at += frame_size) {
      long sum = 0;
      for (std::size_t i = at; i < at + frame_size; ++i) sum += static_cast<std::uint8_t>(rgb[i]);
      levels.push_back(static_cast<int>(sum / static_cast<long>(frame_size)));
    }
    return levels;
  }
};

TEST_P(RepeatedFrames, AreStoredInOrderAndCounted) {
  const std::string path = File("repeats.avi");
  const Picture dark(32, 16, [](int, int) { return Bgr{40, 40, 40}; });
  const Picture light(32, 16, [](int, int) { return Bgr{200, 200, 200}; });
  auto writer = files_.OpenWriter(path, {32, 16, 25, GetParam(), 90, {}});
  ASSERT_TRUE(Ok(writer));
  MovieWriter& movie = **writer;
  ASSERT_TRUE(Ok(movie.WriteVideoFrame(dark.View())));
  ASSERT_TRUE(Ok(movie.RepeatLastFrame()));
  ASSERT_TRUE(Ok(movie.WriteVideoFrame(light.View())));
  ASSERT_TRUE(Ok(movie.RepeatLastFrame()));
  ASSERT_TRUE(Ok(movie.RepeatLastFrame()));
  ASSERT_TRUE(Ok(movie.WriteVideoFrame(dark.View())));
  ASSERT_TRUE(Ok(movie.RepeatLastFrame()));
  ASSERT_TRUE(Ok(movie.Close()));

  const auto info = files_.ReadInfo(path);
  ASSERT_TRUE(Ok(info));
  EXPECT_EQ(info->frame_count, 7);
  EXPECT_NEAR(info->duration_seconds, 7 / 25.0, 1e-9);
  EXPECT_EQ(ProbeStream(path, 'v', "nb_read_frames")["nb_read_frames"], "7");
  EXPECT_EQ(DecodingComplaints(path), "");
  const std::vector<int> levels = DecodedLevels(path, 32, 16);
  ASSERT_EQ(levels.size(), 7u);
  const std::vector<bool> light_frames = {false, false, true, true, true, false, false};
  for (std::size_t i = 0; i < levels.size(); ++i) {
    EXPECT_EQ(levels[i] > 120, light_frames[i]) << "frame " << i << " has level " << levels[i];
  }
}

TEST_P(RepeatedFrames, NeedAFrameBeforeAndAnOpenMovie) {
  auto writer = files_.OpenWriter(File("early.avi"), {32, 16, 25, GetParam(), 90, {}});
  ASSERT_TRUE(Ok(writer));
  EXPECT_FALSE((*writer)->RepeatLastFrame());
  ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(Picture(32, 16, Pattern).View())));
  ASSERT_TRUE(Ok((*writer)->Close()));
  EXPECT_FALSE((*writer)->RepeatLastFrame());
  EXPECT_EQ(files_.ReadInfo(File("early.avi"))->frame_count, 1);
}

INSTANTIATE_TEST_SUITE_P(EveryCodec, RepeatedFrames,
                         ::testing::Values(VideoCodec::Uncompressed, VideoCodec::Mjpeg,
                                         VideoCodec::Mpeg4, VideoCodec::H264, VideoCodec::Ffv1,
                                         VideoCodec::HuffYuv),
                         CodecName);

// ---- Audio ----------------------------------------------------------------------------------

class WrittenAudio : public MovieFileTest, public ::testing::WithParamInterface<AudioFormat> {
 protected:
  // A third of a second of samples, written in uneven pieces that split sample frames,
  // followed by an incomplete sample frame, which is dropped.
  std::string WriteSamples() {
    const AudioFormat audio = GetParam();
    const int sample_frame = audio.channels * audio.bits_per_sample / 8;
    for (int i = 0; i < audio.samples_per_second / 3 * sample_frame; ++i) {
      samples_.push_back(static_cast<std::uint8_t>(i * 31 + i / 7));
    }
    std::vector<std::uint8_t> with_tail = samples_;
    with_tail.resize(samples_.size() + static_cast<std::size_t>(sample_frame - 1), 0x55);
    const std::string path = File("audio.avi");
    auto writer = files_.OpenWriter(path, {16, 8, 10, VideoCodec::Uncompressed, 90, audio});
    EXPECT_TRUE(Ok(writer));
    if (!writer) return path;
    const Picture picture(16, 8, Pattern);
    std::size_t done = 0;
    for (std::size_t piece : {1, 7, 333, 4096, 1, 20000}) {
      EXPECT_TRUE(Ok((*writer)->WriteVideoFrame(picture.View())));
      const std::size_t size = std::min(piece, with_tail.size() - done);
      EXPECT_TRUE(Ok((*writer)->WriteAudio({with_tail.data() + done, size})));
      done += size;
    }
    EXPECT_TRUE(Ok((*writer)->WriteAudio({with_tail.data() + done, with_tail.size() - done})));
    EXPECT_TRUE(Ok((*writer)->Close()));
    return path;
  }

  std::vector<std::uint8_t> samples_;
};

TEST_P(WrittenAudio, HasThePcmFormatAsked) {
  const AudioFormat audio = GetParam();
  const std::string path = WriteSamples();
  const auto info = files_.ReadInfo(path);
  ASSERT_TRUE(Ok(info));
  ASSERT_TRUE(info.value().audio.has_value());
  EXPECT_EQ(info.value().audio->samples_per_second, audio.samples_per_second);
  EXPECT_EQ(info.value().audio->channels, audio.channels);
  EXPECT_EQ(info.value().audio->bits_per_sample, audio.bits_per_sample);
  auto probed = ProbeStream(path, 'a', "codec_name,sample_rate,channels");
  EXPECT_EQ(probed["codec_name"], audio.bits_per_sample == 8 ? "pcm_u8" : "pcm_s16le");
  EXPECT_EQ(probed["sample_rate"], std::to_string(audio.samples_per_second));
  EXPECT_EQ(probed["channels"], std::to_string(audio.channels));
}

TEST_P(WrittenAudio, StoresEveryWholeSampleInOrder) {
  const std::string path = WriteSamples();
  const std::string stored =
      RunCommand("ffmpeg -v error -i '" + path + "' -map 0:a -c copy -f data -");
  EXPECT_TRUE(stored == std::string(samples_.begin(), samples_.end()))
      << stored.size() << " bytes stored, " << samples_.size() << " written";
}

INSTANTIATE_TEST_SUITE_P(RatesChannelsAndBits, WrittenAudio,
                         ::testing::Values(AudioFormat{8000, 1, 8}, AudioFormat{11025, 2, 8},
                                         AudioFormat{22050, 1, 16}, AudioFormat{44100, 2, 16}));

// ---- Refusals -------------------------------------------------------------------------------

class WrongFrame : public MovieFileTest, public ::testing::WithParamInterface<FrameView> {};

TEST_P(WrongFrame, IsRefusedAndTheMovieGoesOn) {
  const std::string path = File("wrong.avi");
  auto writer = files_.OpenWriter(path, {32, 16, 25, VideoCodec::Mjpeg, 90, {}});
  ASSERT_TRUE(Ok(writer));
  EXPECT_FALSE((*writer)->WriteVideoFrame(GetParam()));
  EXPECT_TRUE(Ok((*writer)->WriteVideoFrame(Picture(32, 16, Pattern).View())));
  EXPECT_TRUE(Ok((*writer)->Close()));
  EXPECT_EQ(files_.ReadInfo(path).value().frame_count, 1);
}

const std::vector<std::uint8_t> kPixels(64 * 64 * 3);
INSTANTIATE_TEST_SUITE_P(
    SizesAndRows, WrongFrame,
    ::testing::Values(FrameView{33, 16, 100, kPixels.data()}, FrameView{32, 17, 96, kPixels.data()},
                    FrameView{16, 16, 48, kPixels.data()}, FrameView{32, 8, 96, kPixels.data()},
                    FrameView{32, 16, 95, kPixels.data()}, FrameView{32, 16, 96, nullptr}));

class RefusedFormat : public MovieFileTest, public ::testing::WithParamInterface<MovieFormat> {};

TEST_P(RefusedFormat, OpensNoFile) {
  const std::string path = File("refused.avi");
  EXPECT_FALSE(files_.OpenWriter(path, GetParam()));
  EXPECT_FALSE(fs::exists(path));
}

constexpr auto kMjpeg = VideoCodec::Mjpeg;
INSTANTIATE_TEST_SUITE_P(
    BadValues, RefusedFormat,
    ::testing::Values(MovieFormat{0, 16, 25, kMjpeg, 90, {}}, MovieFormat{16, -2, 25, kMjpeg, 90, {}},
                    MovieFormat{16, 16, 0, kMjpeg, 90, {}},
                    MovieFormat{16, 16, NAN, kMjpeg, 90, {}},
                    MovieFormat{16, 16, 25, kMjpeg, 0, {}},
                    MovieFormat{16, 16, 25, kMjpeg, 101, {}},
                    MovieFormat{16, 16, 25, kMjpeg, 90, AudioFormat{8000, 1, 12}},
                    MovieFormat{16, 16, 25, kMjpeg, 90, AudioFormat{8000, 0, 8}},
                    MovieFormat{16, 16, 25, kMjpeg, 90, AudioFormat{0, 1, 8}},
                    MovieFormat{17, 16, 25, VideoCodec::H264, 90, {}},
                    MovieFormat{16, 15, 25, VideoCodec::H264, 90, {}},
                    MovieFormat{16, 16, 25, VideoCodec::H264, 0, {}},
                    MovieFormat{16, 16, 25, VideoCodec::Mpeg4, 101, {}},
                    MovieFormat{16, 16, 25, VideoCodec::Mpeg4, 90, {}, -1},
                    MovieFormat{16, 16, 25, VideoCodec::H264, 90, {}, 1000001}));

TEST_F(MovieFileTest, AQualityOutOfRangeIsIgnoredWhereABitRateDrives) {
  const std::string path = File("rate.avi");
  EXPECT_TRUE(
      Write(path, {16, 16, 25, VideoCodec::Mpeg4, 0, {}, 500}, Picture(16, 16, Pattern), 2));
  EXPECT_EQ(files_.ReadInfo(path)->fourcc, "DX50");
}

TEST_F(MovieFileTest, WriterCannotBeCreatedInAMissingFolder) {
  const auto writer = files_.OpenWriter(File("absent/movie.avi"), {16, 16, 25, kMjpeg, 90, {}});
  ASSERT_FALSE(writer);
  EXPECT_NE(writer.error().message.find("absent/movie.avi"), std::string::npos);
}

// ---- Closing --------------------------------------------------------------------------------

TEST_F(MovieFileTest, DestroyingAnOpenWriterFinishesTheMovie) {
  const std::string path = File("dropped.avi");
  {
    auto writer = files_.OpenWriter(path, {16, 16, 25, kMjpeg, 90, {}});
    ASSERT_TRUE(Ok(writer));
    const Picture picture(16, 16, Pattern);
    for (int i = 0; i < 3; ++i) ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(picture.View())));
  }
  EXPECT_EQ(files_.ReadInfo(path).value().frame_count, 3);
  EXPECT_EQ(ProbeStream(path, 'v', "nb_read_frames")["nb_read_frames"], "3");
}

TEST_F(MovieFileTest, AClosedOrSilentMovieRefusesMoreData) {
  auto writer = files_.OpenWriter(File("closed.avi"), {16, 16, 25, kMjpeg, 90, {}});
  ASSERT_TRUE(Ok(writer));
  const std::uint8_t sample = 0;
  EXPECT_FALSE((*writer)->WriteAudio({&sample, 1}));
  EXPECT_TRUE(Ok((*writer)->Close()));
  EXPECT_TRUE(Ok((*writer)->Close()));
  EXPECT_FALSE((*writer)->WriteVideoFrame(Picture(16, 16, Pattern).View()));
}

TEST_F(MovieFileTest, FramesAreCountedWhenTheHeadersLackTheLength) {
  const std::string path = File("unfinished.avi");
  ASSERT_TRUE(Write(path, {16, 16, 10, kMjpeg, 90, {}}, Picture(16, 16, Pattern), 4));
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  std::string bytes(std::istreambuf_iterator<char>(file), {});
  // The movie's total frames (avih, 16 bytes in) and the stream's length (strh, 32 bytes in).
  for (const auto& [chunk, offset] : {std::pair{"avih", 16}, std::pair{"strh", 32}}) {
    file.seekp(static_cast<std::streamoff>(bytes.find(chunk) + 8 + offset));
    file.write("\0\0\0\0", 4);
  }
  file.close();
  const auto info = files_.ReadInfo(path);
  ASSERT_TRUE(Ok(info));
  EXPECT_EQ(info.value().frame_count, 4);
  EXPECT_NEAR(info.value().duration_seconds, 0.4, 1e-9);
}

// ---- Reading what is not a movie ------------------------------------------------------------

class NotAMovie : public MovieFileTest, public ::testing::WithParamInterface<const char*> {};

TEST_P(NotAMovie, IsAnErrorNamingTheFile) {
  const std::string path = File("notes.txt");
  if (GetParam() != nullptr) std::ofstream(path) << GetParam();
  const auto info = files_.ReadInfo(path);
  ASSERT_FALSE(info);
  EXPECT_NE(info.error().message.find(path), std::string::npos) << info.error().message;
}

INSTANTIATE_TEST_SUITE_P(MissingEmptyOrText, NotAMovie,
                         ::testing::Values(nullptr, "", "Shot list\n1. wide\n2. close-up\n",
                                         "RIFF\x04\x01\x01\x01"
                                         "AVI LIST"));

// ---- The compressor list --------------------------------------------------------------------

TEST(CompressorList, OffersTheKnownCompressorsInOrderWhereTheMachineCanEncode) {
  const std::vector<std::string> order = {
      "MJPEG Compressor", "Uncompressed", "MPEG-4 (DivX compatible)",
      "H.264",        "FFV1 (lossless)",  "HuffYUV (lossless)"};
  std::vector<std::string> known;
  for (const auto& compressor : KnownVideoCompressors()) known.push_back(compressor.name);
  EXPECT_EQ(known, order);
  std::vector<std::string> available;
  for (const auto& compressor : AvailableVideoCompressors()) {
    EXPECT_TRUE(FfmpegMovieFiles::CanEncode(compressor.codec)) << compressor.name;
    available.push_back(compressor.name);
  }
  std::vector<std::string> encodable;
  for (const auto& compressor : KnownVideoCompressors()) {
    if (FfmpegMovieFiles::CanEncode(compressor.codec)) encodable.push_back(compressor.name);
  }
  EXPECT_EQ(available, encodable);
  EXPECT_EQ(AudioCompressorNames(), std::vector<std::string>{"PCM"});
}

// Every compressor the list offers here writes a movie with its tag.
class OfferedCompressor : public MovieFileTest, public ::testing::WithParamInterface<int> {};

TEST_P(OfferedCompressor, WritesAMovieWithItsSetting) {
  CompressorSettings settings;
  if (GetParam() >= settings.Count()) GTEST_SKIP() << "this machine offers fewer compressors";
  MovieFormat format = settings.MovieFormatOf(GetParam());
  format.width = 64;
  format.height = 48;
  format.frames_per_second = 15;
  const std::string path = File("offered.avi");
  ASSERT_TRUE(Write(path, format, Picture(64, 48, Pattern), 3));
  const auto info = files_.ReadInfo(path);
  ASSERT_TRUE(Ok(info));
  EXPECT_EQ(info->fourcc, ReadFourcc(settings.At(GetParam()).codec));
  EXPECT_EQ(info->frame_count, 3);
}

INSTANTIATE_TEST_SUITE_P(ByIndex, OfferedCompressor, ::testing::Range(0, 6));

const std::vector<VideoCompressor> kTwoCompressors = {
    {"Plain", VideoCodec::Uncompressed, CompressorSettingKind::None, 0, 0, 0},
    {"Small", VideoCodec::Mpeg4, CompressorSettingKind::BitRate, 64, 50000, 4000},
    {"Sharp", VideoCodec::H264, CompressorSettingKind::Quality, 1, 100, 75},
};

TEST(CompressorSettingsTest, KeepsAValuePerCompressorForTheFormat) {
  CompressorSettings settings(kTwoCompressors);
  EXPECT_EQ(settings.Value(1), 4000);
  EXPECT_EQ(settings.Value(2), 75);
  ASSERT_TRUE(settings.SetValue(1, 800));
  ASSERT_TRUE(settings.SetValue(2, 40));
  const MovieFormat small = settings.MovieFormatOf(1);
  EXPECT_EQ(small.codec, VideoCodec::Mpeg4);
  EXPECT_EQ(small.bit_rate_kbps, 800);
  const MovieFormat sharp = settings.MovieFormatOf(2);
  EXPECT_EQ(sharp.codec, VideoCodec::H264);
  EXPECT_EQ(sharp.quality, 40);
  EXPECT_EQ(sharp.bit_rate_kbps, 0);
  EXPECT_EQ(settings.MovieFormatOf(0).codec, VideoCodec::Uncompressed);
}

TEST(CompressorSettingsTest, TheDialogShowsTheSettingWithItsRange) {
  CompressorSettings settings(kTwoCompressors);
  EXPECT_FALSE(settings.Setting(0).has_value());
  ASSERT_TRUE(settings.SetValue(1, 64));
  const auto bit_rate = settings.Setting(1);
  ASSERT_TRUE(bit_rate.has_value());
  EXPECT_EQ(bit_rate->label, "Bit rate (kbit/s)");
  EXPECT_EQ(bit_rate->minimum, 64);
  EXPECT_EQ(bit_rate->maximum, 50000);
  EXPECT_EQ(bit_rate->value, 64);
  EXPECT_EQ(settings.Setting(2)->label, "Quality");
}

TEST(CompressorSettingsTest, RefusesValuesOutOfRangeAndCompressorsWithoutASetting) {
  CompressorSettings settings(kTwoCompressors);
  EXPECT_FALSE(settings.SetValue(0, 5));
  EXPECT_FALSE(settings.SetValue(1, 63));
  EXPECT_FALSE(settings.SetValue(2, 101));
  EXPECT_FALSE(settings.SetValue(3, 50));
  EXPECT_EQ(settings.Value(1), 4000);
  EXPECT_EQ(settings.Value(2), 75);
  EXPECT_THROW(settings.At(3), std::out_of_range);
}

TEST(CompressorSettingsTest, EachKindOfBackEndHasItsOwnChoiceStartingWithMotionJpeg) {
  CompressorSettings settings;
  ASSERT_GE(settings.Count(), 2);
  EXPECT_EQ(settings.Name(settings.ControlCompressor()), "MJPEG Compressor");
  EXPECT_EQ(settings.Name(settings.DriverCompressor()), "MJPEG Compressor");
  EXPECT_EQ(settings.At(settings.ControlCompressor()).default_value, 90);
  ASSERT_TRUE(settings.SetControlCompressor(1));
  EXPECT_EQ(settings.ControlCompressor(), 1);
  EXPECT_EQ(settings.Name(settings.DriverCompressor()), "MJPEG Compressor");
  EXPECT_FALSE(settings.SetDriverCompressor(settings.Count()));
  EXPECT_FALSE(settings.SetDriverCompressor(-1));
  EXPECT_EQ(settings.Name(settings.DriverCompressor()), "MJPEG Compressor");
}

}  // namespace
}  // namespace zr::platform::linux_impl
