// The program as a user runs it without windows: options, the built-in camera recorded with
// sound, the set-up it leaves behind.

#include <gtest/gtest.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>
#include <utility>
#include <vector>

#include "image/bmp.h"
#include "image/picture_writer.h"
#include "platform/linux/magick_image_converter.h"
#include "tests/support/local_ftp_server.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::testing {
namespace {

namespace fs = std::filesystem;

class HeadlessProgramTest : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = fs::temp_directory_path() / ("zr-headless-" + std::to_string(::getpid()) + "-" +
                                           ::testing::UnitTest::GetInstance()->current_test_info()->name());
    fs::create_directories(folder_ / "app");
  }
  void TearDown() override { fs::remove_all(folder_); }

  // The program with its settings and program folder in the test's own folder.
  std::string Program(const std::string& arguments) const {
    return "XDG_CONFIG_HOME='" + (folder_ / "config").string() + "' HOME='" + folder_.string() + "' LANG=C " +
           ZR_ZANDRELL_PROGRAM + " --app-path '" + (folder_ / "app").string() + "' " + arguments;
  }
  std::string ProgramCommand(const std::string& arguments) const {
    return "cd '" + folder_.string() + "' && " + Program(arguments) + " 2>&1; echo \"exit=$?\"";
  }

  // Runs the program; gives its exit status and leaves what it printed in output_.
  int Run(const std::string& arguments) { return ExitOf(RunCommand(ProgramCommand(arguments))); }

  // A shell line that starts the program in the background, its process id in $pid and what it
  // prints in out.txt.
  std::string InBackground(const std::string& arguments) const {
    return "cd '" + folder_.string() + "' || exit; env " + Program(arguments) + " > out.txt 2>&1 & pid=$!; ";
  }

  int ExitOf(std::string output) {
    output_ = std::move(output);
    const auto at = output_.rfind("exit=");
    return at == std::string::npos ? -1 : std::stoi(output_.substr(at + 5));
  }

  std::string File(const std::string& name) const { return (folder_ / name).string(); }

  // A parameter file for 30 frames a second with sound, which fill a small disk fast.
  void WriteFastSetUp() const {
    std::ofstream(File("setup.zrp")) << "Frame Rate=30\n"
                                        "Audio=yes\n"
                                        "Audio Rate=22050\n"
                                        "Audio Bits=16\n"
                                        "Audio Channels=1\n"
                                        "AVI Info=No\n";
  }

  fs::path folder_;
  std::string output_;
};

TEST_F(HeadlessProgramTest, HelpNamesEveryOptionAndTheBuiltInDevicesAreListed) {
  EXPECT_EQ(Run("--help"), 0);
  for (const char* option :
       {"--headless", "--record SECONDS FILE", "--device NAME", "--list-devices", "--app-path", "--lang",
        "PARAMETER_FILE", "--build-avi OUT.avi", "--histogram IN OUT.txt", "--extract MOVIE",
        "--recompress MOVIE OUT.avi --codec NAME", "--effect NAME[,NAME...] IN OUT"})
    EXPECT_NE(output_.find(option), std::string::npos) << option;
  EXPECT_EQ(Run("--list-devices"), 0);
  EXPECT_NE(output_.find("Built-in Test Camera"), std::string::npos) << output_;
  EXPECT_NE(output_.find("Built-in Test Tone"), std::string::npos) << output_;
}

// The effects menu's keys on a file: "negative,flip" gives the negative mirrored left to right,
// saved as PNG by the name's ending. A name no key has, a picture too narrow for the effects'
// progress step and a file that is no picture end badly and write nothing.
TEST_F(HeadlessProgramTest, AppliesTheEffectsMenusKeysToAPictureFile) {
  const auto colour = [](int x, int y, int c) { return static_cast<std::uint8_t>(x * 15 + y * 20 + c * 3); };
  const auto painted = [&](int width, int height) {
    auto picture = platform::Picture::Blank(width, height);
    for (int y = 0; y < height; ++y)
      for (int x = 0; x < width; ++x)
        for (int c = 0; c < 3; ++c) picture.PixelFromTop(x, y)[c] = colour(x, y, c);
    return picture;
  };
  ASSERT_TRUE(WriteBmpFile(painted(16, 12), File("in.bmp")));
  ASSERT_EQ(Run("--effect negative,flip in.bmp out.png"), 0) << output_;
  const auto out = platform::linux_impl::MagickImageConverter().Read(File("out.png"));
  ASSERT_TRUE(out) << out.error().message;
  ASSERT_EQ(out->width, 16);
  ASSERT_EQ(out->height, 12);
  for (int y = 0; y < 12; ++y)
    for (int x = 0; x < 16; ++x)
      for (int c = 0; c < 3; ++c) ASSERT_EQ(out->PixelFromTop(x, y)[c], 255 - colour(15 - x, y, c)) << x << "," << y;

  EXPECT_EQ(Run("--effect negative,sepia in.bmp bad.png"), 2);
  EXPECT_NE(output_.find("no effect \"sepia\""), std::string::npos) << output_;
  ASSERT_TRUE(WriteBmpFile(painted(11, 4), File("narrow.bmp")));
  EXPECT_EQ(Run("--effect emboss narrow.bmp bad.png"), 1);
  EXPECT_NE(output_.find("Division by zero"), std::string::npos) << output_;
  std::ofstream(File("notes.bmp")) << "no picture";
  EXPECT_EQ(Run("--effect negative notes.bmp bad.png"), 1);
  EXPECT_FALSE(fs::exists(File("bad.png")));
}

// The AVI builder without windows: a frame a file at the asked rate, in the compressor named; a
// file of another size is refused with the builder's message and the movie made of the rest; a
// folder's files by a mask.
TEST_F(HeadlessProgramTest, BuildsMoviesOfBitmapFilesAndRefusesOneOfAnotherSize) {
  fs::create_directories(folder_ / "shots");
  for (int index = 0; index < 300; ++index) {
    auto picture = platform::Picture::Blank(32, 24);
    std::fill(picture.bottom_up_bgr.begin(), picture.bottom_up_bgr.end(), static_cast<std::uint8_t>(index));
    char name[32];
    std::snprintf(name, sizeof name, "shots/%06d.bmp", index);
    ASSERT_TRUE(WriteBmpFile(picture, (folder_ / name).string()));
  }
  ASSERT_TRUE(WriteBmpFile(platform::Picture::Blank(40, 24), (folder_ / "shots/000150x.bmp").string()));

  EXPECT_EQ(Run("--build-avi built.avi --fps 25 --codec mjpeg shots/*.bmp"), 1) << output_;
  EXPECT_NE(output_.find("Chosen bitmap file is a different format ! "), std::string::npos) << output_;
  EXPECT_NE(output_.find("Finished. (300 frames)"), std::string::npos) << output_;
  auto video = ProbeStream((folder_ / "built.avi").string(), 'v', "nb_read_frames,width,r_frame_rate,codec_tag_string");
  EXPECT_EQ(video["nb_read_frames"], "300");
  EXPECT_EQ(video["width"], "32");
  EXPECT_EQ(video["r_frame_rate"], "25/1");
  EXPECT_EQ(video["codec_tag_string"], "MJPG");

  EXPECT_EQ(Run("--build-avi group.avi --fps 5 --folder shots --mask '00000?.bmp'"), 0) << output_;
  video = ProbeStream((folder_ / "group.avi").string(), 'v', "nb_read_frames,r_frame_rate,codec_tag_string");
  EXPECT_EQ(video["nb_read_frames"], "10");
  EXPECT_EQ(video["r_frame_rate"], "5/1");
  EXPECT_EQ(video["codec_tag_string"], "DX50");

  EXPECT_EQ(Run("--build-avi none.avi shots/000001.bmp"), 2) << output_;
  EXPECT_EQ(Run("--build-avi none.avi --fps 31 shots/000001.bmp"), 2) << output_;
  EXPECT_EQ(Run("--build-avi none.avi --fps 5 --codec nothing shots/000001.bmp"), 2) << output_;
  EXPECT_NE(output_.find("MJPEG Compressor"), std::string::npos) << output_;
  EXPECT_FALSE(fs::exists(folder_ / "none.avi"));
}

// The histogram's export of a picture file: a mid-grey picture stands at the top of the drawing
// at its tone and at the bottom (200) everywhere else. A file that is no picture is refused.
TEST_F(HeadlessProgramTest, WritesTheHistogramOfAPictureAndRefusesAFileThatIsNone) {
  auto grey = platform::Picture::Blank(8, 4);
  std::fill(grey.bottom_up_bgr.begin(), grey.bottom_up_bgr.end(), std::uint8_t{128});
  ASSERT_TRUE(WriteBmpFile(grey, (folder_ / "grey.bmp").string()));
  ASSERT_EQ(Run("--histogram grey.bmp grey.txt"), 0) << output_;
  std::ifstream file(folder_ / "grey.txt", std::ios::binary);
  const std::string text((std::istreambuf_iterator<char>(file)), std::istreambuf_iterator<char>());
  EXPECT_TRUE(text.starts_with("TONE\tRED\tGREEN\tBLUE\tLUMINANCE0\t200\t200\t200\t200\r\n")) << text.substr(0, 80);
  EXPECT_NE(text.find("\r\n127\t200\t200\t200\t200\r\n128\t0\t0\t0\t0\r\n129\t"), std::string::npos);
  EXPECT_TRUE(text.ends_with("\r\n255\t200\t200\t200\t200\r\n"));

  EXPECT_EQ(Run("--histogram grey.txt none.txt"), 1) << output_;
  EXPECT_NE(output_.find("grey.txt is no BMP or JPEG picture"), std::string::npos) << output_;
  EXPECT_FALSE(fs::exists(folder_ / "none.txt"));
  EXPECT_EQ(Run("--histogram grey.bmp"), 2) << output_;
}

// Every frame of a movie ffmpeg wrote, saved as the movie window names them: the same count as
// ffmpeg's own extraction, and the same colours within what JPEG coding changes.
TEST_F(HeadlessProgramTest, ExtractsEveryFrameOfAMovieAsFfmpegDecodesIt) {
  RunCommand("cd '" + folder_.string() +
             "' && ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=25 -frames:v 300 -c:v mjpeg -q:v 2 x.avi"
             " && mkdir ff shots && ffmpeg -v error -i x.avi -f image2 ff/%06d.bmp");
  ASSERT_EQ(Run("--extract x.avi shots/clip.jpg"), 0) << output_;
  const auto reference = [&](int frame) {
    char name[32];
    std::snprintf(name, sizeof name, "ff/%06d.bmp", frame + 1);
    return ReadBmpFile(File(name));
  };
  // The peak signal-to-noise ratio of `a` against `b`, and each channel's mean difference.
  const auto compare = [](const platform::Picture& a, const platform::Picture& b) {
    double squares = 0;
    std::array<double, 3> sums{};
    for (std::size_t at = 0; at < a.bottom_up_bgr.size(); ++at) {
      const int difference = a.bottom_up_bgr[at] - b.bottom_up_bgr[at];
      squares += difference * difference;
      sums[at % 3] += difference;
    }
    const double samples = static_cast<double>(a.bottom_up_bgr.size());
    for (double& sum : sums) sum /= samples / 3;
    return std::pair{10 * std::log10(255.0 * 255.0 / std::max(squares / samples, 1e-9)), sums};
  };
  auto next = reference(0);
  for (int frame = 0; frame < 300; ++frame) {
    char ours[64];
    std::snprintf(ours, sizeof ours, "shots/clip_Frame_%06d.jpg", frame);
    const auto picture = LoadPictureFile(File(ours));
    const auto own = std::move(next);
    next = reference(frame + 1);
    ASSERT_TRUE(picture && own && picture->bottom_up_bgr.size() == own->bottom_up_bgr.size()) << ours;
    // Within what coding the frame once more as JPEG changes, and closer to its own frame than
    // to the next one.
    const auto [psnr, channel_means] = compare(*picture, *own);
    EXPECT_GT(psnr, 25.0) << ours;
    for (const double mean : channel_means) EXPECT_LT(std::abs(mean), 2.0) << ours;
    if (next) {
      EXPECT_GT(psnr, compare(*picture, *next).first) << ours;
    }
  }
  EXPECT_FALSE(fs::exists(File("shots/clip_Frame_000300.jpg")));
  EXPECT_EQ(std::distance(fs::directory_iterator(folder_ / "shots"), {}), 300);
}

// A movie exported without a deck becomes a DV stream file beside it that ffprobe reads as DV:
// PAL for a movie near 25 frames a second, NTSC for one near 30, as long as the movie; a file of
// the name there already stays as it was and the export takes the next free name. The movie's
// sound, mono at 22050 Hz here, goes along as the 48 kHz stereo of DV; a silent movie has none.
TEST_F(HeadlessProgramTest, ExportsAMovieAsADvStreamFileBesideIt) {
  struct Case {
    const char* rate;
    const char* size;
    const char* frame_rate;
    const char* sound;  // ffmpeg's input and coding of the movie's sound
  };
  const Case cases[] = {
      {"25", "720x576", "25/1", " -f lavfi -i sine=sample_rate=22050:duration=2 -c:a pcm_s16le"},
      {"30", "720x480", "30000/1001", ""},
  };
  for (const Case& movie : cases) {
    const std::string name = std::string("m") + movie.rate;
    RunCommand("cd '" + folder_.string() + "' && ffmpeg -v error -f lavfi -i testsrc2=size=320x240:rate=" + movie.rate +
               movie.sound + " -frames:v 50 -c:v mjpeg " + name + ".avi && echo keep > " + name + ".dv");
    ASSERT_EQ(Run("--export-dv " + name + ".avi"), 0) << output_;
    EXPECT_NE(output_.find(name + " 2.dv"), std::string::npos) << output_;
    EXPECT_EQ(RunCommand("cat '" + File(name + ".dv") + "'"), "keep\n");
    const std::string dv = File(name + " 2.dv");
    const auto stream = ProbeStream(dv, 'v', "codec_name,width,height,r_frame_rate");
    EXPECT_EQ(stream.at("codec_name"), "dvvideo") << movie.rate;
    EXPECT_EQ(stream.at("width") + "x" + stream.at("height"), movie.size);
    EXPECT_EQ(stream.at("r_frame_rate"), movie.frame_rate);
    EXPECT_NEAR(ProbeDurationSeconds(dv), 50.0 / std::stoi(movie.rate), 0.1);
    const auto sound = ProbeStream(dv, 'a', "codec_name,sample_rate,channels,duration");
    if (*movie.sound == '\0') {
      EXPECT_TRUE(sound.empty()) << movie.rate;
      continue;
    }
    EXPECT_EQ(sound.at("codec_name") + " " + sound.at("sample_rate") + " " + sound.at("channels"), "pcm_s16le 48000 2");
    EXPECT_NEAR(std::stod(sound.at("duration")), 2.0, 0.05);
    // The tone itself, not silence: a sine at an eighth of full scale is some 21 dB under it.
    const std::string level =
        RunCommand("ffmpeg -i '" + dv + "' -af volumedetect -f null - 2>&1 | grep -o 'mean_volume: [-0-9.]*'");
    ASSERT_FALSE(level.empty());
    EXPECT_GT(std::stod(level.substr(level.find(' '))), -30.0) << level;
  }
  EXPECT_EQ(Run("--export-dv none.avi"), 2);
}

// What the tools refuse before they start, each with its word and status 2: a missing movie, a
// file that is no movie, a name of another kind, a folder that does not exist, an unknown
// compressor (which lists the others). A movie recompressed keeps its frames and its sound.
TEST_F(HeadlessProgramTest, RecompressesWithACompressorOfOursAndRefusesWhatCannotBeDone) {
  RunCommand("cd '" + folder_.string() +
             "' && ffmpeg -v error -f lavfi -i testsrc=size=64x48:rate=10:duration=3 -f lavfi"
             " -i sine=sample_rate=8000:duration=3 -c:v mjpeg -c:a pcm_s16le x.avi && echo text > text.avi");
  const std::pair<const char*, const char*> refusals[] = {
      {"--extract none.avi a.jpg", "none.avi: no such file"},
      {"--extract text.avi a.jpg", "is not a movie the program reads"},
      {"--extract x.avi a.png", "a name ending in .bmp or .jpg"},
      {"--extract x.avi nowhere/a.bmp", "is not a folder"},
      {"--recompress x.avi y.avi --codec nothing", "MJPEG Compressor"},
      {"--recompress none.avi y.avi --codec mjpeg", "no such file"},
      {"--recompress x.avi nowhere/y.avi --codec mjpeg", "nothing was recompressed"},
  };
  for (const auto& [arguments, said] : refusals) {
    EXPECT_EQ(Run(arguments), 2) << arguments;
    EXPECT_NE(output_.find(said), std::string::npos) << arguments << ": " << output_;
  }
  ASSERT_EQ(Run("--recompress x.avi y.avi --codec huffyuv"), 0) << output_;
  EXPECT_NE(output_.find("Recompressing: 100%"), std::string::npos) << output_;
  auto video = ProbeStream(File("y.avi"), 'v', "nb_read_frames,codec_tag_string");
  EXPECT_EQ(video["nb_read_frames"], "30");
  EXPECT_EQ(video["codec_tag_string"], "HFYU");
  EXPECT_EQ(ProbeStream(File("y.wav"), 'a', "sample_rate")["sample_rate"], "8000");
}

// Wrong options, a folder that does not exist, an unknown device and a name that is no movie
// file: each run says why and records nothing, and nothing that stands at the name is removed.
// A name too long for a file ends the program with a word, not an abort.
TEST_F(HeadlessProgramTest, RunsThatCannotRecordSayWhyAndLeaveWhatStandsAtTheName) {
  fs::create_directory(File("shots"));
  ASSERT_EQ(mkfifo(File("pipe.avi").c_str(), 0600), 0);
  struct Refusal {
    std::string arguments;
    int status;
    std::vector<std::string> said;
  };
  const Refusal refusals[] = {
      {"--frobnicate", 2, {}},
      {"--record zero movie.avi", 2, {"--record wants a number of seconds"}},
      {"--headless --record 2 absent/movie.avi",
       1,
       {"Not recorded: the folder does not exist", "No such file or directory"}},
      {"--headless --device 'No Such Camera' --record 1 movie.avi",
       1,
       {"no device \"No Such Camera\"", "Built-in Test Camera (VFW)"}},
      {"--headless --record 1 shots/", 2, {"names a folder", "nothing was recorded"}},
      {"--headless --record 1 shots", 2, {"is a folder", "nothing was recorded"}},
      {"--headless --record 1 pipe.avi", 2, {"is a pipe", "nothing was recorded"}},
      {"--headless --record 1 " + std::string(300, 'n') + ".avi", 2, {"is too long", "nothing was recorded"}}};
  for (const Refusal& refusal : refusals) {
    EXPECT_EQ(Run(refusal.arguments), refusal.status) << refusal.arguments;
    for (const std::string& text : refusal.said) EXPECT_NE(output_.find(text), std::string::npos) << output_;
  }
  EXPECT_FALSE(fs::exists(File("movie.avi")));
  EXPECT_TRUE(fs::is_directory(File("shots")));
  EXPECT_TRUE(fs::is_fifo(File("pipe.avi")));
}

// Five seconds from the built-in camera at 640x480 and 30 frames a second, Motion JPEG, with
// 16-bit mono sound at 22050 Hz, as a parameter file sets them.
TEST_F(HeadlessProgramTest, RecordsTheBuiltInCameraWithSound) {
  WriteFastSetUp();
  ASSERT_EQ(Run("--headless --record 5 movie.avi setup.zrp"), 0) << output_;
  EXPECT_NE(output_.find("Stopped: " + File("movie.avi")), std::string::npos) << output_;

  const auto video = ProbeStream(File("movie.avi"), 'v', "codec_name,width,height,nb_read_frames");
  EXPECT_EQ(video.at("codec_name"), "mjpeg");
  EXPECT_EQ(video.at("width"), "640");
  EXPECT_EQ(video.at("height"), "480");
  EXPECT_NEAR(std::stod(video.at("nb_read_frames")), 150, 1);
  EXPECT_NEAR(ProbeDurationSeconds(File("movie.avi")), 5.0, 0.05);
  const auto sound = ProbeStream(File("movie.avi"), 'a', "codec_name,sample_rate,channels");
  EXPECT_EQ(sound.at("codec_name"), "pcm_s16le");
  EXPECT_EQ(sound.at("sample_rate"), "22050");
  EXPECT_EQ(sound.at("channels"), "1");
  // It closed as the operator closes it: the set-up is kept for the next start.
  EXPECT_TRUE(fs::exists(folder_ / "app" / "zrsr.zr2"));
}

// The run fills a disk of 2 MiB (made in a mount namespace of the test's own) long before its
// ten seconds: it ends saying why, the program fails, and the movie so far plays.
TEST_F(HeadlessProgramTest, AFullDiskEndsTheRunSayingSoAndTheMovieSoFarPlays) {
  WriteFastSetUp();
  fs::create_directory(File("disk"));
  const std::string movie = File("disk/movie.avi");
  std::ofstream(File("small_disk.sh"))
      << "mount -t tmpfs -o size=2m tmpfs '" << File("disk") << "' 2>/dev/null || { echo no-disk; exit; }\n"
      << ProgramCommand("--headless --record 10 '" + movie + "' setup.zrp") << "\n"
      << "ffprobe -v error -count_frames -select_streams v:0 -show_entries stream=nb_frames,nb_read_frames "
         "-of default=noprint_wrappers=1 '"
      << movie << "'\n";
  const std::string output = RunCommand("unshare -rm sh '" + File("small_disk.sh") + "' 2>&1 || echo no-disk");
  if (output.find("no-disk") != std::string::npos) GTEST_SKIP() << "no mount namespace for a small disk here";
  EXPECT_EQ(ExitOf(output), 1) << output;
  EXPECT_NE(output_.find("Stopped: the disk is full"), std::string::npos) << output_;
  EXPECT_NE(output_.find("No space left on device"), std::string::npos) << output_;
  const auto header = output_.find("nb_frames="), decoded = output_.find("nb_read_frames=");
  ASSERT_NE(header, std::string::npos) << output_;
  ASSERT_NE(decoded, std::string::npos) << output_;
  const long frames = std::stol(output_.substr(header + 10));
  EXPECT_GT(frames, 30);
  EXPECT_LT(frames, 300);
  EXPECT_EQ(std::stol(output_.substr(decoded + 15)), frames);
}

// Asked to end three seconds into a ten-second run, the program stops the run as Stop does:
// the movie is closed with its index and headers that count every frame, the set-up is saved,
// and the program ends with 128 + the signal's number.
TEST_F(HeadlessProgramTest, ARequestToEndStopsTheRunAsStopDoesAndSavesTheSetUp) {
  WriteFastSetUp();
  for (const auto& [signal, status] : {std::pair{"TERM", 143}, std::pair{"HUP", 129}}) {
    fs::remove(folder_ / "app" / "zrsr.zr2");
    const std::string movie = File(std::string(signal) + ".avi");
    EXPECT_EQ(ExitOf(RunCommand(InBackground("--headless --record 10 '" + movie + "' setup.zrp") + "sleep 3; kill -" +
                                signal + " $pid; wait $pid; echo \"exit=$?\"; cat out.txt")),
              status)
        << output_;
    EXPECT_NE(output_.find(std::string("ended on SIG") + signal), std::string::npos) << output_;
    EXPECT_NE(output_.find("Stopped: " + movie), std::string::npos) << output_;
    const auto [header, decoded] = HeaderAndDecodedFrames(movie);
    EXPECT_EQ(header, decoded);
    EXPECT_GT(decoded, 45);
    EXPECT_LT(decoded, 200);
    EXPECT_NEAR(ProbeDurationSeconds(movie), static_cast<double>(decoded) / 30, 0.05);
    EXPECT_TRUE(fs::exists(folder_ / "app" / "zrsr.zr2"));
  }
}

// A killed program leaves its movie under the temporary name beside the movie's own, with
// headers at most half a second behind the frames on the disk.
TEST_F(HeadlessProgramTest, AKilledRunLeavesAMovieThatPlaysBesideItsName) {
  WriteFastSetUp();
  RunCommand(InBackground("--headless --record 10 movie.avi setup.zrp") +
             "sleep 3; kill -KILL $pid; wait $pid 2>/dev/null");
  EXPECT_FALSE(fs::exists(File("movie.avi")));
  std::vector<fs::path> left;
  for (const auto& entry : fs::directory_iterator(folder_))
    if (entry.path().filename().string().starts_with("movie.partial-")) left.push_back(entry.path());
  ASSERT_EQ(left.size(), 1u);
  EXPECT_EQ(left[0].extension(), ".avi");
  const auto [header, decoded] = HeaderAndDecodedFrames(left[0].string());
  EXPECT_GT(header, 30);
  EXPECT_GE(decoded, header);
  EXPECT_LE(decoded, header + 15 + 2);  // half a second at 30 frames a second, and what was on its way
}

// A saved one-second series with the upload runs unattended for the asked time: numbered JPEGs,
// a line for each, each sent whole to a real FTP server into the folder set; the password shows
// nowhere.
TEST_F(HeadlessProgramTest, AnFtpSeriesDeliversEveryPictureWhole) {
  ASSERT_TRUE(LocalFtpServer::Available()) << "scripts/setup.sh installs python3-pyftpdlib";
  LocalFtpServer server;
  std::ofstream(File("ftp.zrp")) << "Filename=" << File("shot.avi")
                                 << "\r\nCapture=Multiple Image\r\nMultiple Image Type=2\r\n"
                                 << "Trigger=Timer\r\nInterval=1\r\n; Internet Settings\r\n"
                                 << "Send to FTP Server=Yes\r\nURL=127.0.0.1\r\nPort=" << server.Port()
                                 << "\r\nUsername=" << LocalFtpServer::kUser
                                 << "\r\nPassword=" << LocalFtpServer::kPassword << "\r\nDirectory=pics\r\n";
  ASSERT_EQ(Run("--headless --run 5 ftp.zrp"), 0) << output_;
  EXPECT_EQ(output_.find(LocalFtpServer::kPassword), std::string::npos) << output_;
  EXPECT_NE(output_.find("Picture 1: " + File("shot000001.jpg")), std::string::npos) << output_;
  EXPECT_EQ(output_.find("Picture 0"), std::string::npos) << output_;
  EXPECT_FALSE(fs::exists(File("shot000007.jpg")));
  for (const char* name : {"shot000001.jpg", "shot000002.jpg", "shot000003.jpg", "shot000004.jpg", "shot000005.jpg"}) {
    const auto sent = server.Root() / "pics" / name;
    ASSERT_TRUE(fs::exists(sent)) << name << "\n" << output_;
    EXPECT_EQ(FileText(File(name)), FileText(sent)) << name;
  }
}

// The picture server without windows, answered by curl as a browser would be answered: the page
// byte for byte from the program folder's template, a JPEG of the camera's size for every other
// request however it is written, and a client that never finishes its request dropped at its
// deadline while another is served.
TEST_F(HeadlessProgramTest, ServesThePageAndPicturesToCurlUntilASignal) {
  const int port = FreeLocalPort();
  ASSERT_GT(port, 0);
  std::ofstream(folder_ / "app" / "webshare.html", std::ios::binary) << "<html>,<%webshare%>\r\n</html>\r\n";
  const std::string address = "http://127.0.0.1:" + std::to_string(port);
  const std::string tcp = "/dev/tcp/127.0.0.1/" + std::to_string(port);
  // bash, for its /dev/tcp: a client that sends half a request line and waits, while others are
  // served meanwhile.
  std::ofstream(File("exchange.sh")) << InBackground("--headless --webshare " + std::to_string(port))
                                     << "for i in $(seq 100); do curl -s -i -o page.html " << address
                                     << "/ && break; sleep 0.1; done\n"
                                     << "exec 4<>" << tcp << "; printf 'GET /li' >&4; start=$(date +%s)\n"
                                     << "curl -s -o live.jpg '" << address << "/live?1'; curl -s -X get -o lower.jpg "
                                     << address << "/\n"
                                     << "exec 3<>" << tcp
                                     << "; printf '\\001\\002garbage\\r\\n\\r\\n' >&3; cat <&3 > garbage.txt\n"
                                     << "timeout 20 cat <&4 > slow.txt; echo \"slow=$(( $(date +%s) - start ))\"\n"
                                     << "kill -TERM $pid; wait $pid; echo \"exit=$?\"; cat out.txt\n";
  EXPECT_EQ(ExitOf(RunCommand("bash '" + File("exchange.sh") + "' 2>&1")), 143) << output_;
  EXPECT_NE(output_.find("Serving the live picture at http://"), std::string::npos) << output_;

  char today[16];
  const std::time_t now = std::time(nullptr);
  std::strftime(today, sizeof today, "%m-%d-%Y", std::localtime(&now));
  const std::string live = "http://127.0.0.1:" + std::to_string(port) + "/live";
  const std::string page = FileText(File("page.html"));
  // The page's text is the scenarios' to check; here it is today's, from the program folder's
  // template, and points at the port served.
  EXPECT_TRUE(page.starts_with("HTTP/1.1 200 OK\r\nServer: Video Zandrell\r\nDate: " + std::string(today) + "\r\n"))
      << page;
  EXPECT_NE(page.find("\r\n\r\n<html><SCRIPT"), std::string::npos) << page;
  EXPECT_NE(page.find(".src = \"" + live + "\"+reload;"), std::string::npos) << page;
  EXPECT_TRUE(page.ends_with("//--></SCRIPT>\r\n</html>")) << page;
  for (const char* name : {"live.jpg", "lower.jpg"}) {
    auto picture = ProbeStream(File(name), 'v', "codec_name,width,height");
    EXPECT_EQ(picture["codec_name"], "mjpeg") << name;
    EXPECT_EQ(picture["width"], "640") << name;
    EXPECT_EQ(picture["height"], "480") << name;
  }
  const std::string garbage = FileText(File("garbage.txt"));
  EXPECT_TRUE(garbage.starts_with("HTTP/1.1 200 OK\r\nContent-Type: image/jpeg\r\n")) << garbage.substr(0, 200);
  EXPECT_NE(garbage.find("\r\n\r\n\xFF\xD8"), std::string::npos);
  // Dropped at the 10 s deadline, unanswered.
  EXPECT_EQ(fs::file_size(File("slow.txt")), 0u);
  const auto slow_at = output_.find("slow=");
  ASSERT_NE(slow_at, std::string::npos) << output_;
  const int slow_seconds = std::stoi(output_.substr(slow_at + 5));
  EXPECT_GE(slow_seconds, 9);
  EXPECT_LE(slow_seconds, 13);
}

// The shipped page in a real browser: headless Chromium loads it from the program without
// windows and keeps fetching the live picture, whose colour bars show in its screenshot (the
// page itself is greys only). The screenshot is left in the screenshots folder.
TEST_F(HeadlessProgramTest, ABrowserShowsTheLivePictureOnTheShippedPage) {
  if (RunCommand("command -v chromium >/dev/null && echo found").find("found") == std::string::npos)
    GTEST_SKIP() << "no chromium here (scripts/setup.sh installs it)";
  const int port = FreeLocalPort();
  ASSERT_GT(port, 0);
  fs::create_directories(ZR_SCREENSHOT_DIR);
  const std::string shot = std::string(ZR_SCREENSHOT_DIR) + "/webshare_page.png";
  fs::remove(shot);
  std::ofstream(File("browse.sh"))
      << InBackground("--headless --webshare " + std::to_string(port))
      << "for i in $(seq 100); do curl -s -o /dev/null http://127.0.0.1:" << port << "/ && break; sleep 0.1; done\n"
      << "timeout 60 chromium --headless --no-sandbox --disable-gpu --hide-scrollbars --window-size=800,700 "
      << "--timeout=3000 --screenshot='" << shot << "' http://127.0.0.1:" << port << "/ >/dev/null 2>&1\n"
      << "ffmpeg -v error -y -i '" << shot << "' -f rawvideo -pix_fmt rgb24 shot.rgb\n"
      << "kill -TERM $pid; wait $pid; echo \"exit=$?\"\n";
  EXPECT_EQ(ExitOf(RunCommand("bash '" + File("browse.sh") + "' 2>&1")), 143) << output_;
  // The page and the catalogue the program folder was given, from beside the program.
  EXPECT_TRUE(fs::exists(folder_ / "app" / "webshare.html"));
  EXPECT_TRUE(fs::exists(folder_ / "app" / "codec.zr"));
  std::ifstream raw(File("shot.rgb"), std::ios::binary);
  const std::string pixels((std::istreambuf_iterator<char>(raw)), {});
  ASSERT_EQ(pixels.size(), 800u * 700u * 3u) << output_;
  std::size_t coloured = 0;
  for (std::size_t at = 0; at + 2 < pixels.size(); at += 3) {
    const auto [low, high] =
        std::minmax({static_cast<unsigned char>(pixels[at]), static_cast<unsigned char>(pixels[at + 1]),
                     static_cast<unsigned char>(pixels[at + 2])});
    coloured += high - low > 100 ? 1 : 0;
  }
  // The camera's bars fill far more than a tenth of a 640x480 picture scaled into the window.
  EXPECT_GT(coloured, 800u * 700u / 10u);
}

}  // namespace
}  // namespace zr::testing
