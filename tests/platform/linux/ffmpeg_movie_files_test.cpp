#include "platform/linux/ffmpeg_movie_files.h"

#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "platform/linux/compressors.h"
#include "platform/picture.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using zr::testing::HeaderAndDecodedFrames;
using zr::testing::InChild;
using zr::testing::Ok;
using zr::testing::ProbeStream;
using zr::testing::RunCommand;
namespace fs = std::filesystem;

struct Bgr {
  std::uint8_t blue, green, red;
};
using Paint = std::function<Bgr(int x, int y_from_top)>;

// A picture as the program holds it, bottom row first, with `extra` bytes past each row's
// padding to four bytes, so that rows read at the wrong stride show.
class Picture {
 public:
  Picture(int width, int height, const Paint& paint, int extra = 8)
      : width_(width),
        height_(height),
        stride_((width * 3 + 3) / 4 * 4 + extra),
        bytes_(static_cast<std::size_t>(stride_ * height), 0xEE) {
    for (int y = 0; y < height; ++y) {
      for (int x = 0; x < width; ++x) {
        const Bgr pixel = paint(x, y);
        std::uint8_t* at = &bytes_[static_cast<std::size_t>((height - 1 - y) * stride_ + x * 3)];
        std::tie(at[0], at[1], at[2]) = std::tie(pixel.blue, pixel.green, pixel.red);
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
  return {static_cast<std::uint8_t>(x * 7 + y), static_cast<std::uint8_t>(y * 5), static_cast<std::uint8_t>(x ^ y)};
}

// Blue top left, green top right, red bottom left, dark grey bottom right: flat areas that lossy
// codecs keep, so that their orientation and colours show, and the grey's level a wrong range.
Paint Quadrants(int width, int height) {
  return [=](int x, int y) {
    const bool right = x >= width / 2, bottom = y >= height / 2;
    if (bottom) return right ? Bgr{40, 40, 40} : Bgr{0, 0, 255};
    return right ? Bgr{0, 255, 0} : Bgr{255, 0, 0};
  };
}

// Soft gradients under a grain that changes with the seed: detail that rewards every bit.
Picture Grain(int width, int height, std::uint32_t seed) {
  return Picture(width, height, [&](int x, int y) {
    seed = seed * 1664525u + 1013904223u;
    const int grain = static_cast<int>(seed >> 27) - 16;
    const auto level = [&](int base) { return static_cast<std::uint8_t>(std::clamp(base + grain, 0, 255)); };
    return Bgr{level(x + 40), level(y * 2 + 20), level((x + y) / 2 + 60)};
  });
}

// Every frame as the ffmpeg tool decodes it, top row first, in the pixel format named.
std::string Decoded(const std::string& path, const std::string& pixel_format) {
  return RunCommand("ffmpeg -v error -i '" + path + "' -fps_mode passthrough -f rawvideo -pix_fmt " + pixel_format +
                    " -");
}

// What ffmpeg's decoders say while decoding the whole movie: nothing when it is sound.
std::string DecodingComplaints(const std::string& path) {
  return RunCommand("ffmpeg -v error -i '" + path + "' -f null - 2>&1");
}

struct Codec {
  VideoCodec codec;
  std::string fourcc;  // as the reader reports it
  bool lossless;
};
const std::vector<Codec> kCodecs = {{VideoCodec::Uncompressed, "DIB ", true}, {VideoCodec::Mjpeg, "MJPG", false},
                                    {VideoCodec::Mpeg4, "DX50", false},       {VideoCodec::H264, "H264", false},
                                    {VideoCodec::Ffv1, "FFV1", true},         {VideoCodec::HuffYuv, "HFYU", true}};

const Codec& Of(VideoCodec codec) {
  return *std::find_if(kCodecs.begin(), kCodecs.end(), [&](const Codec& c) { return c.codec == codec; });
}
std::string TestName(VideoCodec codec) { return codec == VideoCodec::Uncompressed ? "DIB" : Of(codec).fourcc; }

class MovieFileTest : public ::testing::Test {
 protected:
  std::string File(const std::string& name) const { return folder_.File(name); }

  // Writes `frames` copies of the picture and closes the movie.
  ::testing::AssertionResult Write(const std::string& path, const MovieFormat& format, const Picture& picture,
                                   int frames) {
    auto writer = files_.OpenWriter(path, format);
    if (!writer) return Ok(writer);
    for (int i = 0; i < frames; ++i) {
      if (auto written = (*writer)->WriteVideoFrame(picture.View()); !written) return Ok(written);
    }
    return Ok((*writer)->Close());
  }

  FfmpegMovieFiles files_;
  zr::testing::TemporaryFolder folder_;
};

// ---- Every codec at even, odd and tiny sizes, as the reader and the ffmpeg tools see it ------

struct SizeAndRate {
  int width, height;
  double fps;
  std::string stored_rate;
  int frames;  // over a second at the first size, so that a second key frame is coded
};
using CodecAndSize = std::tuple<Codec, SizeAndRate>;

// H.264 takes even sizes only; its refusal of odd ones is checked with the other refusals.
std::vector<CodecAndSize> EveryCodecAtTheSizesItTakes() {
  const SizeAndRate sizes[] = {
      {160, 120, 29.97, "30000/1001", 32}, {161, 121, 12.5, "25/2", 4}, {2, 2, 23.976, "24000/1001", 3}};
  std::vector<CodecAndSize> cases;
  for (const Codec& codec : kCodecs) {
    for (const SizeAndRate& size : sizes) {
      if (codec.codec != VideoCodec::H264 || size.width % 2 + size.height % 2 == 0) cases.emplace_back(codec, size);
    }
  }
  return cases;
}

class MovieRoundTrip : public MovieFileTest, public ::testing::WithParamInterface<CodecAndSize> {};

TEST_P(MovieRoundTrip, ReadsBackAndDecodesUprightInItsColours) {
  const auto& [c, s] = GetParam();
  const std::string path = File("movie.avi");
  const Paint paint = c.lossless ? Paint(Pattern) : Quadrants(s.width, s.height);
  ASSERT_TRUE(Write(path, {s.width, s.height, s.fps, c.codec, 75, {}}, Picture(s.width, s.height, paint), s.frames));
  const auto info = files_.ReadInfo(path);
  ASSERT_TRUE(Ok(info));
  EXPECT_EQ(std::tuple(info->frame_count, info->width, info->height, info->fourcc),
            std::tuple(std::int64_t{s.frames}, s.width, s.height, c.fourcc));
  EXPECT_NEAR(info->frames_per_second, s.fps, 1e-3);
  EXPECT_NEAR(info->duration_seconds, s.frames / s.fps, 1e-3);
  EXPECT_FALSE(info->audio.has_value());

  auto probed = ProbeStream(path, 'v', "nb_read_frames,width,height,codec_tag_string,r_frame_rate");
  EXPECT_EQ(probed["nb_read_frames"], std::to_string(s.frames));
  EXPECT_EQ(probed["width"] + "x" + probed["height"], std::to_string(s.width) + "x" + std::to_string(s.height));
  EXPECT_EQ(probed["codec_tag_string"], c.codec == VideoCodec::Uncompressed ? "[0][0][0][0]" : c.fourcc);
  EXPECT_EQ(probed["r_frame_rate"], s.stored_rate);
  EXPECT_EQ(DecodingComplaints(path), "");

  // The first frame: every pixel exact when lossless, else the middle of each quadrant, where
  // the picture is big enough to have quadrants that 4:2:0 colour keeps apart.
  const std::string rgb = Decoded(path, "rgb24");
  ASSERT_EQ(rgb.size(), static_cast<std::size_t>(s.frames * s.width * s.height * 3));
  const int tolerance = c.lossless ? 0 : 8;
  for (int y = 0; y < s.height; ++y) {
    for (int x = 0; x < s.width; ++x) {
      const bool middle = (x == s.width / 4 || x == 3 * s.width / 4) && (y == s.height / 4 || y == 3 * s.height / 4);
      if (!c.lossless && !(middle && s.width >= 16)) continue;
      const Bgr want = paint(x, y);
      const auto* got = reinterpret_cast<const std::uint8_t*>(&rgb[static_cast<std::size_t>((y * s.width + x) * 3)]);
      ASSERT_LE(std::max({std::abs(got[0] - want.red), std::abs(got[1] - want.green), std::abs(got[2] - want.blue)}),
                tolerance)
          << "at " << x << "," << y;
    }
  }
}

std::string CodecAndSizeName(const ::testing::TestParamInfo<CodecAndSize>& param) {
  const auto& [codec, size] = param.param;
  return TestName(codec.codec) + "_" + std::to_string(size.width) + "x" + std::to_string(size.height);
}
INSTANTIATE_TEST_SUITE_P(CodecsBySize, MovieRoundTrip, ::testing::ValuesIn(EveryCodecAtTheSizesItTakes()),
                         CodecAndSizeName);

TEST_F(MovieFileTest, MoreQualityOrBitRateMakesALargerMovie) {
  struct Steps {
    VideoCodec codec;
    std::vector<std::pair<int, int>> quality_and_kbps;  // from the least to the most detail kept
  };
  // Quality 0 where a bit rate is given: it is not looked at then.
  const Steps table[] = {{VideoCodec::Mjpeg, {{1, 0}, {50, 0}, {100, 0}}},
                         {VideoCodec::Mpeg4, {{1, 0}, {50, 0}, {100, 0}}},
                         {VideoCodec::Mpeg4, {{0, 30}, {0, 100}, {0, 300}}},
                         {VideoCodec::H264, {{1, 0}, {50, 0}, {100, 0}}},
                         {VideoCodec::H264, {{0, 200}, {0, 2000}, {0, 20000}}}};
  for (const auto& [codec, steps] : table) {
    std::uintmax_t previous_size = 0;
    for (const auto& [quality, kbps] : steps) {
      SCOPED_TRACE(TestName(codec) + " quality " + std::to_string(quality) + ", " + std::to_string(kbps) + " kbit/s");
      auto writer = files_.OpenWriter(File("detail.avi"), {160, 120, 25, codec, quality, {}, kbps});
      ASSERT_TRUE(Ok(writer));
      for (std::uint32_t frame = 0; frame < 6; ++frame) {
        ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(Grain(160, 120, frame).View())));
      }
      ASSERT_TRUE(Ok((*writer)->Close()));
      EXPECT_GT(fs::file_size(File("detail.avi")), previous_size);
      previous_size = fs::file_size(File("detail.avi"));
    }
  }
}

// ---- Repeated frames --------------------------------------------------------------------------

// Each frame read back is the frame written at its number, right way up, in any order asked for;
// a file that is not a movie gives no reader.
TEST_F(MovieFileTest, FrameReaderGivesEveryFrameByItsNumber) {
  const std::string path = File("frames.avi");
  auto writer = files_.OpenWriter(path, {6, 4, 10, VideoCodec::Uncompressed, 90, {}});
  ASSERT_TRUE(Ok(writer));
  constexpr int kFrames = 5;
  for (int frame = 0; frame < kFrames; ++frame) {
    const auto level = static_cast<std::uint8_t>(10 + 40 * frame);
    const Picture marked(6, 4, [=](int x, int y) {
      return x == 0 && y == 0 ? Bgr{255, 0, 0} : Bgr{level, level, level};
    });
    ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(marked.View())));
  }
  ASSERT_TRUE(Ok((*writer)->Close()));

  auto reader = files_.OpenFrameReader(path);
  ASSERT_TRUE(Ok(reader));
  ASSERT_EQ((*reader)->FrameCount(), kFrames);
  for (const int frame : {0, 1, 2, 3, 4, 2, 0}) {
    auto picture = (*reader)->ReadFrame(frame);
    ASSERT_TRUE(Ok(picture));
    const platform::Picture& read = **picture;
    ASSERT_EQ(read.width, 6);
    ASSERT_EQ(read.height, 4);
    EXPECT_EQ(read.PixelFromTop(3, 2)[1], 10 + 40 * frame) << "frame " << frame;
    EXPECT_EQ(read.PixelFromTop(0, 0)[0], 255) << "frame " << frame;
  }
  EXPECT_FALSE((*reader)->ReadFrame(kFrames));

  const std::string text = File("notes.avi");
  std::ofstream(text) << "not a movie";
  EXPECT_FALSE(files_.OpenFrameReader(text));
}

class MovieRepeats : public MovieFileTest, public ::testing::WithParamInterface<VideoCodec> {};

TEST_P(MovieRepeats, AreStoredInOrderAndCountedOnlyAfterAFrameAndBeforeTheClose) {
  const std::string path = File("repeats.avi");
  auto writer = files_.OpenWriter(path, {32, 16, 25, GetParam(), 90, {}});
  ASSERT_TRUE(Ok(writer));
  MovieWriter& movie = **writer;
  EXPECT_FALSE(movie.RepeatLastFrame());  // nothing to repeat yet
  constexpr std::uint8_t kDark = 40, kLight = 200;
  for (const std::uint8_t level : {kDark, kLight, kDark}) {  // each stored twice
    const Picture flat(32, 16, [=](int, int) { return Bgr{level, level, level}; });
    ASSERT_TRUE(Ok(movie.WriteVideoFrame(flat.View())));
    ASSERT_TRUE(Ok(movie.RepeatLastFrame()));
  }
  ASSERT_TRUE(Ok(movie.RepeatLastFrame()));  // the last dark one three times in all
  ASSERT_TRUE(Ok(movie.Close()));
  EXPECT_FALSE(movie.RepeatLastFrame());

  EXPECT_EQ(files_.ReadInfo(path).value().frame_count, 7);
  EXPECT_EQ(DecodingComplaints(path), "");
  const std::string gray = Decoded(path, "gray");
  ASSERT_EQ(gray.size(), 7u * 32 * 16);
  std::string levels;  // 'L' light, 'd' dark, by the middle pixel of each frame
  for (std::size_t frame = 0; frame < 7; ++frame) {
    levels += static_cast<std::uint8_t>(gray[frame * 32 * 16 + 8 * 32 + 16]) > 120 ? 'L' : 'd';
  }
  EXPECT_EQ(levels, "ddLLddd");
}

INSTANTIATE_TEST_SUITE_P(EveryCodec, MovieRepeats,
                         ::testing::Values(VideoCodec::Uncompressed, VideoCodec::Mjpeg, VideoCodec::Mpeg4,
                                           VideoCodec::H264, VideoCodec::Ffv1, VideoCodec::HuffYuv),
                         [](const ::testing::TestParamInfo<VideoCodec>& param) { return TestName(param.param); });

// ---- Sound ------------------------------------------------------------------------------------

class MovieAudio : public MovieFileTest, public ::testing::WithParamInterface<AudioFormat> {};

TEST_P(MovieAudio, InterleavesEveryWholeSampleInOrderInThePcmFormatAsked) {
  const AudioFormat audio = GetParam();
  const int sample_frame = audio.channels * audio.bits_per_sample / 8;
  std::string samples;  // a third of a second
  for (int i = 0; i < audio.samples_per_second / 3 * sample_frame; ++i) samples += static_cast<char>(i * 31 + i / 7);
  // Then an incomplete sample frame, which is dropped.
  const std::string written = samples + std::string(static_cast<std::size_t>(sample_frame - 1), 'U');
  const auto* bytes = reinterpret_cast<const std::uint8_t*>(written.data());
  const std::string path = File("audio.avi");
  auto writer = files_.OpenWriter(path, {16, 8, 10, VideoCodec::Uncompressed, 90, audio});
  ASSERT_TRUE(Ok(writer));
  std::size_t done = 0;
  // Uneven pieces that split sample frames, each after a frame; the rest after the last.
  constexpr std::size_t kPieces[] = {1, 7, 333, 4096, 1, 1 << 20};
  for (const std::size_t piece : kPieces) {
    ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(Picture(16, 8, Pattern).View())));
    const std::size_t size = std::min(piece, written.size() - done);
    ASSERT_TRUE(Ok((*writer)->WriteAudio({bytes + done, size})));
    done += size;
  }
  ASSERT_TRUE(Ok((*writer)->Close()));

  const auto info = files_.ReadInfo(path);
  ASSERT_TRUE(Ok(info));
  ASSERT_TRUE(info->audio.has_value());
  EXPECT_EQ(std::tuple(info->audio->samples_per_second, info->audio->channels, info->audio->bits_per_sample),
            std::tuple(audio.samples_per_second, audio.channels, audio.bits_per_sample));
  auto probed = ProbeStream(path, 'a', "codec_name,sample_rate,channels");
  EXPECT_EQ(probed["codec_name"], audio.bits_per_sample == 8 ? "pcm_u8" : "pcm_s16le");
  EXPECT_EQ(probed["sample_rate"], std::to_string(audio.samples_per_second));
  EXPECT_EQ(probed["channels"], std::to_string(audio.channels));
  const std::string stored = RunCommand("ffmpeg -v error -i '" + path + "' -map 0:a -c copy -f data -");
  EXPECT_TRUE(stored == samples) << stored.size() << " bytes stored, " << samples.size() << " whole";
}

INSTANTIATE_TEST_SUITE_P(RatesChannelsAndBits, MovieAudio,
                         ::testing::Values(AudioFormat{8000, 1, 8}, AudioFormat{11025, 2, 8}, AudioFormat{22050, 1, 16},
                                           AudioFormat{44100, 2, 16}));

// ---- Refusals, errors and unfinished movies ---------------------------------------------------

TEST_F(MovieFileTest, WrongDataIsRefusedAndTheMovieGoesOnUntilItIsClosed) {
  const std::string path = File("wrong.avi");
  auto writer = files_.OpenWriter(path, {32, 16, 25, VideoCodec::Mjpeg, 90, {}});
  ASSERT_TRUE(Ok(writer));
  const std::vector<std::uint8_t> pixels(64 * 64 * 3);
  const auto* p = pixels.data();
  for (const FrameView& wrong : {FrameView{33, 16, 100, p}, FrameView{32, 17, 96, p}, FrameView{16, 16, 48, p},
                                 FrameView{32, 8, 96, p}, FrameView{32, 16, 95, p}, FrameView{32, 16, 96, nullptr}}) {
    EXPECT_FALSE((*writer)->WriteVideoFrame(wrong)) << wrong.width << "x" << wrong.height << " " << wrong.stride_bytes;
  }
  const std::uint8_t sample = 0;
  EXPECT_FALSE((*writer)->WriteAudio({&sample, 1}));  // the movie has no sound track
  const Picture picture(32, 16, Pattern);
  EXPECT_TRUE(Ok((*writer)->WriteVideoFrame(picture.View())));
  EXPECT_TRUE(Ok((*writer)->Close()));
  EXPECT_TRUE(Ok((*writer)->Close()));
  EXPECT_FALSE((*writer)->WriteVideoFrame(picture.View()));
  EXPECT_EQ(files_.ReadInfo(path).value().frame_count, 1);
}

TEST_F(MovieFileTest, AFormatOutOfRangeOpensNoFile) {
  constexpr auto kMjpeg = VideoCodec::Mjpeg, kMpeg4 = VideoCodec::Mpeg4, kH264 = VideoCodec::H264;
  const MovieFormat refused[] = {{0, 16, 25, kMjpeg, 90, {}},
                                 {16, -2, 25, kMjpeg, 90, {}},
                                 {16, 16, 0, kMjpeg, 90, {}},
                                 {16, 16, NAN, kMjpeg, 90, {}},
                                 {16, 16, 25, kMjpeg, 0, {}},
                                 {16, 16, 25, kMjpeg, 101, {}},
                                 {16, 16, 25, kMjpeg, 90, AudioFormat{8000, 1, 12}},
                                 {16, 16, 25, kMjpeg, 90, AudioFormat{8000, 0, 8}},
                                 {16, 16, 25, kMjpeg, 90, AudioFormat{0, 1, 8}},
                                 {17, 16, 25, kH264, 90, {}},
                                 {16, 15, 25, kH264, 90, {}},
                                 {16, 16, 25, kH264, 0, {}},
                                 {16, 16, 25, kMpeg4, 101, {}},
                                 {16, 16, 25, kMpeg4, 90, {}, -1},
                                 {16, 16, 25, kH264, 90, {}, 1000001}};
  for (const MovieFormat& format : refused) {
    EXPECT_FALSE(files_.OpenWriter(File("refused.avi"), format)) << "refused format " << &format - refused;
    EXPECT_FALSE(fs::exists(File("refused.avi")));
  }
}

TEST_F(MovieFileTest, WhatCannotBeReadOrWrittenIsAnErrorNamingTheFile) {
  const std::string path = File("notes.txt");
  for (const char* content : {static_cast<const char*>(nullptr), "", "Shot list\n1. wide\n",
                              "RIFF\x04\x01\x01\x01"
                              "AVI LIST"}) {
    if (content != nullptr) std::ofstream(path) << content;
    const auto info = files_.ReadInfo(path);
    ASSERT_FALSE(info);
    EXPECT_NE(info.error().message.find(path), std::string::npos) << info.error().message;
  }
  const auto writer = files_.OpenWriter(File("absent/movie.avi"), {16, 16, 25, VideoCodec::Mjpeg, 90, {}});
  ASSERT_FALSE(writer);
  EXPECT_NE(writer.error().message.find("absent/movie.avi"), std::string::npos);
}

TEST_F(MovieFileTest, AWriterLetGoOfFinishesTheMovieWhoseFramesAreCountedEvenWithoutHeaderLengths) {
  const std::string path = File("unfinished.avi");
  {
    auto writer = files_.OpenWriter(path, {16, 16, 10, VideoCodec::Mjpeg, 90, {}});
    ASSERT_TRUE(Ok(writer));
    for (int i = 0; i < 4; ++i) ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(Picture(16, 16, Pattern).View())));
  }
  ASSERT_EQ(files_.ReadInfo(path).value().frame_count, 4);
  EXPECT_EQ(ProbeStream(path, 'v', "nb_frames")["nb_frames"], "4");  // the length in the headers
  std::fstream file(path, std::ios::in | std::ios::out | std::ios::binary);
  const std::string bytes(std::istreambuf_iterator<char>(file), {});
  // The movie's total frames (avih, 16 bytes in) and the stream's length (strh, 32 bytes in).
  for (const auto& [chunk, offset] : {std::pair{"avih", std::size_t{16}}, std::pair{"strh", std::size_t{32}}}) {
    const std::size_t found = bytes.find(chunk);
    ASSERT_NE(found, std::string::npos) << chunk;
    file.seekp(static_cast<std::streamoff>(found + 8 + offset));
    file.write("\0\0\0\0", 4);
  }
  file.close();
  const auto info = files_.ReadInfo(path);
  ASSERT_TRUE(Ok(info));
  EXPECT_EQ(info->frame_count, 4);
  EXPECT_NEAR(info->duration_seconds, 0.4, 1e-9);
}

// ---- The movie's own file: its name, its checkpoints, its failures -----------------------------

// The files of a folder whose names hold `part`.
std::vector<fs::path> FilesNamed(const fs::path& folder, const std::string& part) {
  std::vector<fs::path> found;
  for (const auto& entry : fs::directory_iterator(folder))
    if (entry.path().filename().string().find(part) != std::string::npos) found.push_back(entry.path());
  return found;
}

TEST_F(MovieFileTest, AMovieGrowsBesideItsNameAndReplacesTheOldFileOnlyWhenFinished) {
  const std::string path = File("take.avi");
  std::ofstream(path) << "the old take";
  auto writer = files_.OpenWriter(path, {16, 16, 10, VideoCodec::Mjpeg, 90, {}});
  ASSERT_TRUE(Ok(writer));
  ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(Picture(16, 16, Pattern).View())));
  const auto growing = FilesNamed(folder_.path(), "take.partial-");
  ASSERT_EQ(growing.size(), 1u);
  EXPECT_EQ(growing[0].extension(), ".avi");
  EXPECT_EQ(RunCommand("cat '" + path + "'"), "the old take");
  ASSERT_TRUE(Ok((*writer)->Close()));
  EXPECT_EQ(files_.ReadInfo(path).value().frame_count, 1);
  EXPECT_TRUE(FilesNamed(folder_.path(), ".partial-").empty());
}

TEST_F(MovieFileTest, ANameThatIsNoRegularFileOrTooLongIsRefusedAndLeftAsItIs) {
  const MovieFormat format{16, 16, 10, VideoCodec::Mjpeg, 90, {}};
  fs::create_directory(File("folder"));
  std::ofstream(File("kept.avi")) << "kept";
  fs::create_symlink(File("kept.avi"), File("link.avi"));
  ASSERT_EQ(mkfifo(File("pipe.avi").c_str(), 0600), 0);
  for (const std::string& refused : {File("folder"), File("folder") + "/", File("link.avi"), File("pipe.avi"),
                                     std::string("/dev/null"), File(std::string(300, 'n') + ".avi")}) {
    const auto writer = files_.OpenWriter(refused, format);
    ASSERT_FALSE(writer) << refused;
    EXPECT_NE(writer.error().message.find(refused.substr(0, 40)), std::string::npos) << writer.error().message;
  }
  EXPECT_TRUE(fs::is_directory(File("folder")));
  EXPECT_TRUE(fs::is_symlink(File("link.avi")));
  EXPECT_TRUE(fs::is_fifo(File("pipe.avi")));
  EXPECT_TRUE(fs::is_character_file("/dev/null"));
  EXPECT_EQ(RunCommand("cat '" + File("kept.avi") + "'"), "kept");
  EXPECT_TRUE(FilesNamed(folder_.path(), ".partial-").empty());
}

// A name is a local file whatever it looks like: no protocol of FFmpeg is reached by it.
TEST_F(MovieFileTest, ANameLikeAnAddressIsALocalFile) {
  const fs::path before = fs::current_path();
  fs::current_path(folder_.path());
  const MovieFormat format{16, 16, 10, VideoCodec::Mjpeg, 90, {}};
  const auto nowhere = files_.OpenWriter("tcp://127.0.0.1:9/clip.avi", format);
  ASSERT_FALSE(nowhere);
  EXPECT_EQ(nowhere.error().system_error, ENOENT) << nowhere.error().message;
  fs::create_directories("http:/example.org");
  EXPECT_TRUE(Write("http://example.org/clip.avi", format, Picture(16, 16, Pattern), 2));
  const auto info = files_.ReadInfo("http://example.org/clip.avi");
  fs::current_path(before);
  ASSERT_TRUE(Ok(info));
  EXPECT_EQ(info->frame_count, 2);
}

// Every half second of the movie the header is rewritten to count what is on the disk: a
// program killed mid-run leaves a movie whose header is at most that far behind its frames.
TEST_F(MovieFileTest, AMovieCutOffOpensWithHeaderCountsAtMostHalfASecondBehind) {
  const std::string path = File("cut.avi");
  const AudioFormat sound{8000, 1, 16};
  ASSERT_EQ(InChild([&] {
              auto writer = files_.OpenWriter(path, {64, 48, 10, VideoCodec::Mjpeg, 90, sound});
              if (!writer) return 1;
              const std::vector<std::uint8_t> tenth(1600, 0);
              for (int frame = 0; frame < 23; ++frame) {
                if (!(*writer)->WriteVideoFrame(Grain(64, 48, static_cast<std::uint32_t>(frame)).View())) return 2;
                if (!(*writer)->WriteAudio(tenth)) return 3;
              }
              _exit(0);
            }),
            0);
  const auto cut = FilesNamed(folder_.path(), "cut.partial-");
  ASSERT_EQ(cut.size(), 1u);
  EXPECT_FALSE(fs::exists(path));
  const auto [header, decoded] = HeaderAndDecodedFrames(cut[0].string());
  EXPECT_EQ(header, 20);
  EXPECT_GE(decoded, header);
  EXPECT_LE(decoded, header + 5);
  // The sound written up to the checkpoint is counted too: a tenth of a second a frame.
  const long samples = std::stol(ProbeStream(cut[0].string(), 'a', "nb_frames")["nb_frames"]);
  EXPECT_GE(samples, (header - 1) * 800);
  EXPECT_LE(samples, header * 800);
  EXPECT_TRUE(DecodingComplaints(cut[0].string()).empty()) << DecodingComplaints(cut[0].string());
}

// A write refused by the system (here the largest file size the process may write) fails the
// movie with the system's error; its close cuts it back to the last checkpoint and names it.
TEST_F(MovieFileTest, AFailedWriteLeavesTheMovieSoFarUnderItsNameWithHeadersThatAgree) {
  const std::string path = File("full.avi");
  const int error = InChild([&] {
    signal(SIGXFSZ, SIG_IGN);
    const rlimit limit{60000, 60000};
    setrlimit(RLIMIT_FSIZE, &limit);
    auto writer = files_.OpenWriter(path, {64, 48, 10, VideoCodec::Mjpeg, 90, {}});
    if (!writer) return 1;
    Result<void> written;
    for (std::uint32_t frame = 0; written && frame < 1000; ++frame)
      written = (*writer)->WriteVideoFrame(Grain(64, 48, frame).View());
    if (written || (*writer)->Close()) return 2;
    return written.error().system_error;
  });
  EXPECT_EQ(error, EFBIG);
  const auto [header, decoded] = HeaderAndDecodedFrames(path);
  EXPECT_GT(header, 0);
  EXPECT_EQ(decoded, header);
  EXPECT_LE(fs::file_size(path), 60000u);
  EXPECT_TRUE(FilesNamed(folder_.path(), ".partial-").empty());
}

// ---- The compressors --------------------------------------------------------------------------

TEST_F(MovieFileTest, EveryOfferedCompressorWritesAMovieWithItsFirstSetting) {
  const CompressorSettings settings;
  for (int index = 0; index < settings.Count(); ++index) {
    MovieFormat format = settings.MovieFormatOf(index);
    std::tie(format.width, format.height, format.frames_per_second) = std::tuple(64, 48, 15.0);
    const std::string path = File("offered" + std::to_string(index) + ".avi");
    ASSERT_TRUE(Write(path, format, Picture(64, 48, Pattern), 3)) << settings.Name(index);
    EXPECT_EQ(files_.ReadInfo(path)->fourcc, Of(settings.At(index).codec).fourcc) << settings.Name(index);
  }
}

TEST(CompressorSettingsTest, ValuesStayInTheirRangesAndReachTheMovieFormat) {
  CompressorSettings settings({{"Plain", VideoCodec::Uncompressed, CompressorSettingKind::None, 0, 0, 0},
                               {"Small", VideoCodec::Mpeg4, CompressorSettingKind::BitRate, 64, 50000, 4000},
                               {"Sharp", VideoCodec::H264, CompressorSettingKind::Quality, 1, 100, 75}});
  EXPECT_FALSE(settings.Setting(0).has_value());
  const std::pair<int, int> out_of_range[] = {{0, 5}, {1, 63}, {1, 50001}, {2, 0}, {2, 101}, {3, 50}};
  for (const auto& [index, value] : out_of_range) EXPECT_FALSE(settings.SetValue(index, value)) << index << value;
  EXPECT_EQ(std::tuple(settings.Value(1), settings.Value(2)), std::tuple(4000, 75));
  EXPECT_THROW(settings.At(3), std::out_of_range);

  ASSERT_TRUE(settings.SetValue(1, 64));
  ASSERT_TRUE(settings.SetValue(2, 100));
  const auto bit_rate = settings.Setting(1);
  ASSERT_TRUE(bit_rate.has_value());
  EXPECT_EQ(std::tuple(bit_rate->label, bit_rate->minimum, bit_rate->maximum, bit_rate->value),
            std::tuple(std::string("Bit rate (kbit/s)"), 64, 50000, 64));
  EXPECT_EQ(settings.Setting(2)->label, "Quality");
  const MovieFormat small = settings.MovieFormatOf(1), sharp = settings.MovieFormatOf(2);
  EXPECT_EQ(std::tuple(small.codec, small.bit_rate_kbps), std::tuple(VideoCodec::Mpeg4, 64));
  EXPECT_EQ(std::tuple(sharp.codec, sharp.quality, sharp.bit_rate_kbps), std::tuple(VideoCodec::H264, 100, 0));
  EXPECT_EQ(settings.MovieFormatOf(0).codec, VideoCodec::Uncompressed);
}

// Motion JPEG heads the list, so that a set-up naming compressor 0 records compressed movies.
TEST(CompressorSettingsTest, EachKindOfBackEndHasItsOwnChoiceStartingWithMotionJpeg) {
  CompressorSettings settings;
  ASSERT_GE(settings.Count(), 2);
  EXPECT_EQ(settings.Name(settings.ControlCompressor()), "MJPEG Compressor");
  EXPECT_EQ(settings.Name(settings.DriverCompressor()), "MJPEG Compressor");
  const int last = settings.Count() - 1;
  ASSERT_TRUE(settings.SetDriverCompressor(last));
  EXPECT_FALSE(settings.SetControlCompressor(settings.Count()));
  EXPECT_FALSE(settings.SetDriverCompressor(-1));
  EXPECT_EQ(std::tuple(settings.ControlCompressor(), settings.DriverCompressor()), std::tuple(0, last));
}

}  // namespace
}  // namespace zr::platform::linux_impl
