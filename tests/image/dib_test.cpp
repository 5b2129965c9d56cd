// The packed bitmap: BMP files written and read byte for byte, refused inputs, and writes that
// do not cut a longer file.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <iterator>
#include <vector>

#include "image/bmp.h"
#include "image/dib.h"

namespace zr {
namespace {

class DibFiles : public ::testing::Test {
 protected:
  void SetUp() override {
    folder_ = std::filesystem::temp_directory_path() /
              ("zr-dib-" + std::to_string(::testing::UnitTest::GetInstance()->random_seed()) + "-" +
               ::testing::UnitTest::GetInstance()->current_test_info()->name());
    std::filesystem::create_directories(folder_);
  }
  void TearDown() override { std::filesystem::remove_all(folder_); }
  std::string File(const std::string& name) const { return (folder_ / name).string(); }

  static std::vector<std::uint8_t> ReadAll(const std::string& path) {
    std::ifstream file(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
  }
  static void WriteAll(const std::string& path, const std::vector<std::uint8_t>& bytes) {
    std::ofstream file(path, std::ios::binary);
    file.write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  std::filesystem::path folder_;
};

// A packed 24-bit bitmap of `width` by `height`: the information header, then numbered bytes.
std::vector<std::uint8_t> PackedBitmap(int width, int height, int bit_count = 24) {
  const std::uint32_t image_size = static_cast<std::uint32_t>(platform::Picture::StrideFor(width) * height);
  std::vector<std::uint8_t> packed(kBitmapInfoHeaderBytes + image_size, 0);
  PutLittleEndian(packed.data(), 40, 4);
  PutLittleEndian(packed.data() + 4, static_cast<std::uint32_t>(width), 4);
  PutLittleEndian(packed.data() + 8, static_cast<std::uint32_t>(height), 4);
  PutLittleEndian(packed.data() + 12, 1, 2);
  PutLittleEndian(packed.data() + 14, static_cast<std::uint32_t>(bit_count), 2);
  PutLittleEndian(packed.data() + 20, image_size, 4);
  PutLittleEndian(packed.data() + 24, 2835, 4);
  PutLittleEndian(packed.data() + 28, 2835, 4);
  for (std::size_t i = kBitmapInfoHeaderBytes; i < packed.size(); ++i) packed[i] = static_cast<std::uint8_t>(i * 7);
  return packed;
}

TEST_F(DibFiles, PackedBitmapsOfOddWidthsWriteByteExactFilesThatReadBack) {
  for (const int width : {1, 2, 3, 5}) {
    SCOPED_TRACE("width " + std::to_string(width));
    const std::vector<std::uint8_t> packed = PackedBitmap(width, 3);
    const std::uint32_t image_size = static_cast<std::uint32_t>(packed.size()) - kBitmapInfoHeaderBytes;
    cDib dib;
    ASSERT_TRUE(dib.CreateFromPackedDIBPointer(packed.data()));
    EXPECT_EQ(dib.FileType(), 19778);
    EXPECT_EQ(dib.SizeFileHeader(), image_size + 55);
    EXPECT_EQ(dib.BitOffset(), 54u);
    EXPECT_EQ(dib.SizeBitmapInfo(), 40u);
    const std::string path = File("packed" + std::to_string(width) + ".bmp");
    ASSERT_TRUE(dib.WriteToFile(path));

    const std::vector<std::uint8_t> bytes = ReadAll(path);
    ASSERT_EQ(bytes.size(), 54 + image_size);
    EXPECT_EQ(bytes[0], 'B');
    EXPECT_EQ(bytes[1], 'M');
    EXPECT_EQ(GetLittleEndian(bytes.data() + 2, 4), image_size + 55);
    EXPECT_EQ(GetLittleEndian(bytes.data() + 6, 4), 0u);
    EXPECT_EQ(GetLittleEndian(bytes.data() + 10, 4), 54u);
    EXPECT_TRUE(std::equal(packed.begin(), packed.end(), bytes.begin() + 14));

    cDib read;
    ASSERT_TRUE(read.CreateFromFile(path));
    EXPECT_EQ(read.Width(), width);
    EXPECT_EQ(read.Height(), 3);
    EXPECT_EQ(read.BitCount(), 24);
    EXPECT_EQ(read.Planes(), 1);
    EXPECT_EQ(read.Compression(), 0u);
    EXPECT_EQ(read.SizeInfoHeader(), 40u);
    EXPECT_EQ(read.SizeImage(), image_size);
    EXPECT_EQ(read.XPPM(), 2835);
    EXPECT_EQ(read.YPPM(), 2835);
    EXPECT_EQ(read.ClrUsed(), 0u);
    EXPECT_EQ(read.ClrImportant(), 0u);
    EXPECT_TRUE(std::equal(packed.begin() + kBitmapInfoHeaderBytes, packed.end(), read.PointerToBits()));
    EXPECT_TRUE(std::equal(packed.begin(), packed.begin() + kBitmapInfoHeaderBytes, read.PointerToBitmapInfo()));

    // The picture reader sees the same pixels, padding and all.
    const auto picture = ReadBmpFile(path);
    ASSERT_TRUE(picture.has_value());
    EXPECT_TRUE(std::equal(picture->bottom_up_bgr.begin(), picture->bottom_up_bgr.end(),
                           packed.begin() + kBitmapInfoHeaderBytes));
  }
}

TEST_F(DibFiles, ReadsBitmapsThePictureWriterWrote) {
  platform::Picture picture = platform::Picture::Blank(7, 2);
  for (std::size_t i = 0; i < picture.bottom_up_bgr.size(); ++i) picture.bottom_up_bgr[i] = static_cast<std::uint8_t>(i + 1);
  const std::string path = File("written.bmp");
  ASSERT_TRUE(WriteBmpFile(picture, path));
  cDib dib;
  ASSERT_TRUE(dib.CreateFromFile(path));
  EXPECT_EQ(dib.Width(), 7);
  EXPECT_EQ(dib.Height(), 2);
  EXPECT_EQ(dib.SizeImage(), 48u);
  EXPECT_EQ(dib.BitOffset(), 54u);
  EXPECT_TRUE(std::equal(picture.bottom_up_bgr.begin(), picture.bottom_up_bgr.end(), dib.PointerToBits()));
}

TEST_F(DibFiles, RefusesFilesThatAreNotBitmapsAndPackedBitmapsWithPalettes) {
  const std::string path = File("not-a-bitmap.bmp");
  std::vector<std::uint8_t> bytes = PackedBitmap(2, 2);
  bytes.insert(bytes.begin(), {'B', 'A', 70, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0});
  WriteAll(path, bytes);
  cDib dib;
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{});
  };
  const auto open_before = open_files();
  EXPECT_FALSE(dib.CreateFromFile(path));
  EXPECT_FALSE(dib.CreateFromFile(File("missing.bmp")));
  EXPECT_EQ(open_files(), open_before) << "a refused read left its file open";

  EXPECT_FALSE(dib.CreateFromPackedDIBPointer(PackedBitmap(4, 2, 8).data()));
  EXPECT_FALSE(dib.CreateFromPackedDIBPointer(PackedBitmap(4, 2, 15).data()));
  EXPECT_TRUE(dib.CreateFromPackedDIBPointer(PackedBitmap(4, 2, 16).data()));
  std::vector<std::uint8_t> empty = PackedBitmap(4, 2);
  PutLittleEndian(empty.data() + 20, 0, 4);
  EXPECT_FALSE(dib.CreateFromPackedDIBPointer(empty.data()));
}

TEST_F(DibFiles, WritingOverALongerFileKeepsItsTail) {
  const std::string path = File("longer.bmp");
  WriteAll(path, std::vector<std::uint8_t>(1000, 0xAA));
  const std::vector<std::uint8_t> packed = PackedBitmap(3, 2);
  cDib dib;
  ASSERT_TRUE(dib.CreateFromPackedDIBPointer(packed.data()));
  ASSERT_TRUE(dib.WriteToFile(path));
  const std::vector<std::uint8_t> bytes = ReadAll(path);
  ASSERT_EQ(bytes.size(), 1000u);
  EXPECT_EQ(bytes[0], 'B');
  EXPECT_TRUE(std::equal(packed.begin(), packed.end(), bytes.begin() + 14));
  EXPECT_EQ(bytes[14 + packed.size()], 0xAA);
  EXPECT_EQ(bytes.back(), 0xAA);
  EXPECT_FALSE(dib.WriteToFile(File("no-such-folder/x.bmp")));
}

}  // namespace
}  // namespace zr
