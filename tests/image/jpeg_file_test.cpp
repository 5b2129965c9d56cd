// JPEG files from the bitmap: decoded back by the compressor's own reader and by ffprobe, the
// quality passed through, odd widths with their padding, failures, and headers that lie.

#include "image/jpeg_file.h"

#include <gtest/gtest.h>
#include <turbojpeg.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <memory>
#include <vector>

#include "base/program_error.h"
#include "image/dib_section.h"
#include "image/picture_writer.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr {
namespace {

struct Decoded {
  int width = 0, height = 0;
  std::vector<std::uint8_t> top_down_rgb;
  const std::uint8_t* Pixel(int x, int y) const { return top_down_rgb.data() + (y * width + x) * 3; }
};

Decoded Decode(const std::string& path) {
  std::ifstream file(path, std::ios::binary);
  std::vector<unsigned char> jpeg{std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  Decoded decoded;
  const std::unique_ptr<void, int (*)(tjhandle)> handle(tjInitDecompress(), tjDestroy);
  int subsampling = 0, colourspace = 0;
  if (tjDecompressHeader3(handle.get(), jpeg.data(), jpeg.size(), &decoded.width, &decoded.height, &subsampling,
                          &colourspace) != 0)
    return {};
  decoded.top_down_rgb.resize(static_cast<std::size_t>(decoded.width) * static_cast<std::size_t>(decoded.height) * 3);
  if (tjDecompress2(handle.get(), jpeg.data(), jpeg.size(), decoded.top_down_rgb.data(), decoded.width, 0,
                    decoded.height, TJPF_RGB, 0) != 0)
    return {};
  return decoded;
}

// Red above, blue below, as the operator sees it.
platform::Picture RedOverBlue(int width, int height) {
  platform::Picture picture = platform::Picture::Blank(width, height);
  for (int y = 0; y < height; ++y)
    for (int x = 0; x < width; ++x) picture.PixelFromTop(x, y)[y < height / 2 ? 2 : 0] = 255;
  return picture;
}

class JpegFiles : public ::testing::Test {
 protected:
  std::string File(const std::string& name) const { return folder_.File(name); }
  testing::TemporaryFolder folder_;
};

TEST_F(JpegFiles, OddWidthsComeOutTheRightWayUpAtTheirSize) {
  for (const int width : {33, 34, 35, 36}) {  // rows padded by 3, 2, 1 and 0 bytes
    SCOPED_TRACE("width " + std::to_string(width));
    const std::string path = File("odd" + std::to_string(width) + ".jpg");
    ASSERT_TRUE(WriteJpegFile(RedOverBlue(width, 24), path, 90));

    const Decoded decoded = Decode(path);
    ASSERT_EQ(decoded.width, width);
    ASSERT_EQ(decoded.height, 24);
    // Rows read with the wrong pitch would slant the edge; bottom-up read as top-down flips it.
    for (const int x : {0, width / 2, width - 1}) {
      EXPECT_GT(decoded.Pixel(x, 2)[0], 200);
      EXPECT_LT(decoded.Pixel(x, 2)[2], 60);
      EXPECT_GT(decoded.Pixel(x, 21)[2], 200);
      EXPECT_LT(decoded.Pixel(x, 21)[0], 60);
    }
    const auto probed = testing::ProbeStream(path, 'v', "width,height");
    EXPECT_EQ(probed, (std::map<std::string, std::string>{{"width", std::to_string(width)}, {"height", "24"}}));
  }
}

TEST_F(JpegFiles, QualityIsPassedThrough) {
  cDIBSection dib;
  ASSERT_TRUE(dib.Create(64, 48));
  dib.RandomiseBits(false, 99);
  ASSERT_TRUE(WriteJpegFile(dib.Pixels(), File("q1.jpg"), 1));
  ASSERT_TRUE(WriteJpegFile(dib.Pixels(), File("q100.jpg"), 100));
  EXPECT_GT(std::filesystem::file_size(File("q100.jpg")), std::filesystem::file_size(File("q1.jpg")) * 3);
  EXPECT_EQ(Decode(File("q1.jpg")).width, 64);
}

// A file that cannot be written fails at the write; a picture whose pixels fall short of its
// size is refused before the coder would read past them.
TEST_F(JpegFiles, AFileThatCannotBeWrittenOrAShortPictureFails) {
  const auto written = WriteJpegFile(platform::Picture::Blank(8, 8), File("no-such-folder/x.jpg"), 75);
  ASSERT_FALSE(written);
  EXPECT_EQ(written.error().where, "open");
  platform::Picture short_of_rows = platform::Picture::Blank(8, 8);
  short_of_rows.bottom_up_bgr.resize(short_of_rows.bottom_up_bgr.size() - 1);
  const auto refused = WriteJpegFile(short_of_rows, File("short.jpg"), 75);
  ASSERT_FALSE(refused);
  EXPECT_EQ(refused.error().where, "WriteJpegFile");
  EXPECT_FALSE(std::filesystem::exists(File("short.jpg")));
}

// Headers that promise more than the data could hold are refused before anything is made for
// them: a side beyond the limit, or a picture far larger than its few bytes could describe.
TEST_F(JpegFiles, HeadersThatPromiseTooMuchAreRefused) {
  ASSERT_TRUE(WriteJpegFile(platform::Picture::Blank(16, 16), File("small.jpg"), 75));
  std::ifstream in(File("small.jpg"), std::ios::binary);
  std::vector<std::uint8_t> bytes{std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
  ASSERT_TRUE(JpegDecoder().Decode(bytes));
  // The frame header (SOF0) holds the height and the width, big-endian, after its length and
  // precision.
  const std::uint8_t start_of_frame[] = {0xFF, 0xC0};
  const auto frame = std::search(bytes.begin(), bytes.end(), std::begin(start_of_frame), std::end(start_of_frame));
  ASSERT_NE(frame, bytes.end());
  const auto size_at = static_cast<std::size_t>(frame - bytes.begin()) + 5;
  for (const auto& [width, height] : {std::pair{16385, 16}, std::pair{16000, 16000}}) {
    SCOPED_TRACE(std::to_string(width) + "x" + std::to_string(height));
    std::vector<std::uint8_t> lying = bytes;
    lying[size_at] = static_cast<std::uint8_t>(height >> 8);
    lying[size_at + 1] = static_cast<std::uint8_t>(height & 0xFF);
    lying[size_at + 2] = static_cast<std::uint8_t>(width >> 8);
    lying[size_at + 3] = static_cast<std::uint8_t>(width & 0xFF);
    const auto decoded = JpegDecoder().Decode(lying);
    ASSERT_FALSE(decoded);
    EXPECT_NE(decoded.error().message.find("impossible size"), std::string::npos);
    std::ofstream(File("lying.jpg"), std::ios::binary)
        .write(reinterpret_cast<const char*>(lying.data()), static_cast<std::streamsize>(lying.size()));
    EXPECT_FALSE(ReadJpegFile(File("lying.jpg")));
  }
}

TEST_F(JpegFiles, ThePictureWriterWritesJpegByExtension) {
  const auto picture = std::make_shared<const platform::Picture>(RedOverBlue(21, 10));
  WritePictureFile(picture, File("still.JPEG"), 80);
  const Decoded decoded = Decode(File("still.JPEG"));
  EXPECT_EQ(decoded.width, 21);
  EXPECT_EQ(decoded.height, 10);
  EXPECT_GT(decoded.Pixel(10, 1)[0], 200);
  // And read back the right way up, as the picture window opens it.
  const auto loaded = LoadPictureFile(File("still.JPEG"));
  ASSERT_TRUE(loaded);
  EXPECT_EQ(loaded->width, 21);
  EXPECT_GT(loaded->PixelFromTop(10, 1)[2], 200);
  EXPECT_GT(loaded->PixelFromTop(10, 8)[0], 200);
  EXPECT_FALSE(LoadPictureFile(File("odd-name.jpg")));
  EXPECT_THROW(WritePictureFile(picture, File("missing/still.jpg"), 80), FileError);
}

// The same picture written again is coded once; another picture, or another quality, never takes
// the coding kept from the last.
TEST_F(JpegFiles, AKeptCodingServesOnlyTheSamePictureAtTheSameQuality) {
  const auto picture = std::make_shared<const platform::Picture>(RedOverBlue(32, 16));
  WritePictureFile(picture, File("first.jpg"), 80);
  WritePictureFile(picture, File("again.jpg"), 80);
  EXPECT_EQ(testing::FileText(File("again.jpg")), testing::FileText(File("first.jpg")));
  WritePictureFile(picture, File("coarser.jpg"), 10);
  EXPECT_NE(testing::FileText(File("coarser.jpg")), testing::FileText(File("first.jpg")));

  platform::Picture green = platform::Picture::Blank(32, 16);
  for (int y = 0; y < 16; ++y)
    for (int x = 0; x < 32; ++x) green.PixelFromTop(x, y)[1] = 255;
  WritePictureFile(std::make_shared<const platform::Picture>(std::move(green)), File("other.jpg"), 10);
  const auto other = LoadPictureFile(File("other.jpg"));
  ASSERT_TRUE(other);
  EXPECT_GT(other->PixelFromTop(16, 1)[1], 200);
}

}  // namespace
}  // namespace zr
