#include "platform/linux/ffmpeg_movie_files.h"

#include <gtest/gtest.h>
#include <stdlib.h>

#include <cmath>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <map>
#include <memory>
#include <sstream>
#include <string>
#include <tuple>
#include <vector>

namespace zr::platform::linux_impl {
namespace {

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

template <class T>
testing::AssertionResult Ok(const Result<T>& result) {
  if (result) return testing::AssertionSuccess();
  return testing::AssertionFailure() << result.error().where << ": " << result.error().message;
}

struct PipeCloser {
  void operator()(FILE* pipe) const { pclose(pipe); }
};

std::string RunCommand(const std::string& command) {
  std::unique_ptr<FILE, PipeCloser> pipe(popen(command.c_str(), "r"));
  std::string output;
  char chunk[4096];
  for (std::size_t got; pipe && (got = fread(chunk, 1, sizeof chunk, pipe.get())) > 0;) {
    output.append(chunk, got);
  }
  return output;
}

// ffprobe's key=value lines for the first stream of a kind ('v' or 'a').
std::map<std::string, std::string> Probe(const std::string& path, char kind,
                                         const std::string& entries) {
  std::istringstream lines(RunCommand("ffprobe -v error -count_frames -select_streams " +
                                      std::string(1, kind) + ":0 -show_entries stream=" + entries +
                                      " -of default=noprint_wrappers=1 '" + path + "'"));
  std::map<std::string, std::string> values;
  for (std::string line; std::getline(lines, line);) {
    values[line.substr(0, line.find('='))] = line.substr(line.find('=') + 1);
  }
  return values;
}

// The first picture decoded by the ffmpeg tool, top row first, RGB.
std::string DecodeFirstFrame(const std::string& path) {
  return RunCommand("ffmpeg -v error -i '" + path + "' -frames:v 1 -f rawvideo -pix_fmt rgb24 -");
}

class MovieFileTest : public testing::Test {
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
  testing::AssertionResult Write(const std::string& path, const MovieFormat& format,
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

// ---- Frame count, size, tag and rate, as the reader and ffprobe see them -------------------

struct MovieCase {
  VideoCodec codec;
  int width, height;
  double fps;
  std::string stored_rate;
  int frames = 3;
  bool mjpeg() const { return codec == VideoCodec::Mjpeg; }
};

void PrintTo(const MovieCase& c, std::ostream* out) {
  *out << (c.mjpeg() ? "Mjpeg " : "Uncompressed ") << c.width << "x" << c.height << " at " << c.fps;
}

class WrittenMovie : public MovieFileTest, public testing::WithParamInterface<MovieCase> {
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
  EXPECT_EQ(info.value().fourcc, c.mjpeg() ? "MJPG" : "DIB ");
  EXPECT_NEAR(info.value().frames_per_second, c.fps, 1e-3);
  EXPECT_NEAR(info.value().duration_seconds, c.frames / c.fps, 1e-3);
  EXPECT_FALSE(info.value().audio.has_value());
}

TEST_P(WrittenMovie, FfprobeSeesTheFramesSizeTagAndExactRate) {
  const MovieCase& c = GetParam();
  auto probed =
      Probe(WriteCase(), 'v', "nb_read_frames,width,height,codec_tag_string,r_frame_rate");
  EXPECT_EQ(probed["nb_read_frames"], std::to_string(c.frames));
  EXPECT_EQ(probed["width"], std::to_string(c.width));
  EXPECT_EQ(probed["height"], std::to_string(c.height));
  EXPECT_EQ(probed["codec_tag_string"], c.mjpeg() ? "MJPG" : "[0][0][0][0]");
  EXPECT_EQ(probed["r_frame_rate"], c.stored_rate);
}

INSTANTIATE_TEST_SUITE_P(
    SizesRatesAndCodecs, WrittenMovie,
    testing::Values(MovieCase{VideoCodec::Uncompressed, 320, 240, 25, "25/1", 5},
                    MovieCase{VideoCodec::Uncompressed, 161, 121, 29.97, "30000/1001", 4},
                    MovieCase{VideoCodec::Uncompressed, 1, 1, 10, "10/1"},
                    MovieCase{VideoCodec::Mjpeg, 320, 240, 29.97, "30000/1001", 5},
                    MovieCase{VideoCodec::Mjpeg, 161, 121, 10, "10/1"},
                    MovieCase{VideoCodec::Mjpeg, 64, 48, 23.976, "24000/1001"},
                    MovieCase{VideoCodec::Mjpeg, 2, 2, 12.5, "25/2"}));

// ---- Pictures -------------------------------------------------------------------------------

using PictureCase = std::tuple<VideoCodec, int, int>;
class WrittenPicture : public MovieFileTest, public testing::WithParamInterface<PictureCase> {};

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

INSTANTIATE_TEST_SUITE_P(BothCodecsEvenAndOdd, WrittenPicture,
                         testing::Combine(testing::Values(VideoCodec::Uncompressed,
                                                          VideoCodec::Mjpeg),
                                          testing::Values(320, 161), testing::Values(240, 121)));

class UncompressedPixels : public MovieFileTest,
                           public testing::WithParamInterface<std::tuple<int, int, int>> {};

TEST_P(UncompressedPixels, ComeBackExactly) {
  const auto [width, height, extra_stride] = GetParam();
  const std::string path = File("pattern.avi");
  const MovieFormat format{width, height, 10, VideoCodec::Uncompressed, 90, {}};
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

INSTANTIATE_TEST_SUITE_P(RowPaddings, UncompressedPixels,
                         testing::Values(std::tuple{161, 121, 0}, std::tuple{320, 240, 0},
                                         std::tuple{3, 2, 8}, std::tuple{1, 5, 0}));

TEST_F(MovieFileTest, HigherMjpegQualityKeepsMoreDetail) {
  std::uint32_t seed = 12345;
  const auto noise = [&](int, int) {
    seed = seed * 1664525u + 1013904223u;
    return Bgr{static_cast<std::uint8_t>(seed >> 24), static_cast<std::uint8_t>(seed >> 16),
               static_cast<std::uint8_t>(seed >> 8)};
  };
  const Picture picture(160, 120, noise);
  std::uintmax_t previous_size = 0;
  for (int quality : {1, 50, 100}) {
    const std::string path = File("q" + std::to_string(quality) + ".avi");
    ASSERT_TRUE(Write(path, {160, 120, 25, VideoCodec::Mjpeg, quality, {}}, picture, 2));
    EXPECT_GT(fs::file_size(path), previous_size) << "quality " << quality;
    previous_size = fs::file_size(path);
  }
}

// ---- Audio ----------------------------------------------------------------------------------

class WrittenAudio : public MovieFileTest, public testing::WithParamInterface<AudioFormat> {
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
  auto probed = Probe(path, 'a', "codec_name,sample_rate,channels");
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
                         testing::Values(AudioFormat{8000, 1, 8}, AudioFormat{11025, 2, 8},
                                         AudioFormat{22050, 1, 16}, AudioFormat{44100, 2, 16}));

// ---- Refusals -------------------------------------------------------------------------------

class WrongFrame : public MovieFileTest, public testing::WithParamInterface<FrameView> {};

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
    testing::Values(FrameView{33, 16, 100, kPixels.data()}, FrameView{32, 17, 96, kPixels.data()},
                    FrameView{16, 16, 48, kPixels.data()}, FrameView{32, 8, 96, kPixels.data()},
                    FrameView{32, 16, 95, kPixels.data()}, FrameView{32, 16, 96, nullptr}));

class RefusedFormat : public MovieFileTest, public testing::WithParamInterface<MovieFormat> {};

TEST_P(RefusedFormat, OpensNoFile) {
  const std::string path = File("refused.avi");
  EXPECT_FALSE(files_.OpenWriter(path, GetParam()));
  EXPECT_FALSE(fs::exists(path));
}

constexpr auto kMjpeg = VideoCodec::Mjpeg;
INSTANTIATE_TEST_SUITE_P(
    BadValues, RefusedFormat,
    testing::Values(MovieFormat{0, 16, 25, kMjpeg, 90, {}}, MovieFormat{16, -2, 25, kMjpeg, 90, {}},
                    MovieFormat{16, 16, 0, kMjpeg, 90, {}},
                    MovieFormat{16, 16, NAN, kMjpeg, 90, {}},
                    MovieFormat{16, 16, 25, kMjpeg, 0, {}},
                    MovieFormat{16, 16, 25, kMjpeg, 101, {}},
                    MovieFormat{16, 16, 25, kMjpeg, 90, AudioFormat{8000, 1, 12}},
                    MovieFormat{16, 16, 25, kMjpeg, 90, AudioFormat{8000, 0, 8}},
                    MovieFormat{16, 16, 25, kMjpeg, 90, AudioFormat{0, 1, 8}}));

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
  EXPECT_EQ(Probe(path, 'v', "nb_read_frames")["nb_read_frames"], "3");
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

class NotAMovie : public MovieFileTest, public testing::WithParamInterface<const char*> {};

TEST_P(NotAMovie, IsAnErrorNamingTheFile) {
  const std::string path = File("notes.txt");
  if (GetParam() != nullptr) std::ofstream(path) << GetParam();
  const auto info = files_.ReadInfo(path);
  ASSERT_FALSE(info);
  EXPECT_NE(info.error().message.find(path), std::string::npos) << info.error().message;
}

INSTANTIATE_TEST_SUITE_P(MissingEmptyOrText, NotAMovie,
                         testing::Values(nullptr, "", "Shot list\n1. wide\n2. close-up\n",
                                         "RIFF\x04\x01\x01\x01"
                                         "AVI LIST"));

}  // namespace
}  // namespace zr::platform::linux_impl
