// The packed bitmap: BMP files written and read byte for byte, refused inputs, and writes that
// do not cut a longer file.

#include "image/dib.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <new>
#include <vector>

#include "image/bmp.h"
#include "tests/support/platform_checks.h"

// The replacements below pair malloc with free; the compiler, seeing the free inlined where a
// delete was, takes it for a mismatch.
#pragma GCC diagnostic ignored "-Wmismatched-new-delete"

namespace {

// The largest single allocation this thread asked for while metering.
thread_local bool metering = false;
thread_local std::size_t largest_allocation = 0;

}  // namespace

void* operator new(std::size_t size) {
  if (metering) largest_allocation = std::max(largest_allocation, size);
  if (void* memory = std::malloc(size == 0 ? 1 : size)) return memory;
  throw std::bad_alloc();
}
void operator delete(void* memory) noexcept { std::free(memory); }
void operator delete(void* memory, std::size_t) noexcept { std::free(memory); }

namespace zr {
namespace {

// Runs `reads` and tells the largest single allocation it made.
template <class Reads>
std::size_t LargestAllocationOf(Reads&& reads) {
  largest_allocation = 0;
  metering = true;
  reads();
  metering = false;
  return largest_allocation;
}

using Bytes = std::vector<std::uint8_t>;

class DibFiles : public ::testing::Test {
 protected:
  std::string File(const std::string& name) const { return folder_.File(name); }

  static Bytes ReadAll(const std::string& path) {
    const std::string text = testing::FileText(path);
    return {text.begin(), text.end()};
  }
  static void WriteAll(const std::string& path, const Bytes& bytes) {
    std::ofstream(path, std::ios::binary)
        .write(reinterpret_cast<const char*>(bytes.data()), static_cast<std::streamsize>(bytes.size()));
  }

  testing::TemporaryFolder folder_;
};

// The 40-byte information header at `at`.
void PutInfoHeader(std::uint8_t* at, std::uint32_t width, std::uint32_t height, std::uint32_t bit_count,
                   std::uint32_t image_size, std::uint32_t compression = 0) {
  PutLittleEndian(at, 40, 4);
  PutLittleEndian(at + 4, width, 4);
  PutLittleEndian(at + 8, height, 4);
  PutLittleEndian(at + 12, 1, 2);
  PutLittleEndian(at + 14, bit_count, 2);
  PutLittleEndian(at + 16, compression, 4);
  PutLittleEndian(at + 20, image_size, 4);
}

// A file of `size` bytes that starts with the file header, its bits at `offset`.
Bytes FileWithHeader(std::size_t size, std::uint32_t offset) {
  Bytes bytes(size, 0);
  PutLittleEndian(bytes.data(), kBitmapFileType, 2);
  PutLittleEndian(bytes.data() + 10, offset, 4);
  return bytes;
}

// A packed bitmap of `width` by `height`: the information header, then numbered bytes.
Bytes PackedBitmap(int width, int height, int bit_count = 24) {
  const auto image_size = static_cast<std::uint32_t>(platform::Picture::StrideFor(width) * height);
  Bytes packed(kBitmapInfoHeaderBytes + image_size, 0);
  PutInfoHeader(packed.data(), static_cast<std::uint32_t>(width), static_cast<std::uint32_t>(height),
                static_cast<std::uint32_t>(bit_count), image_size);
  for (std::size_t i = kBitmapInfoHeaderBytes; i < packed.size(); ++i) packed[i] = static_cast<std::uint8_t>(i * 7);
  return packed;
}

TEST_F(DibFiles, PackedBitmapsOfOddWidthsWriteByteExactFilesThatReadBack) {
  for (const int width : {1, 2, 3, 5}) {
    SCOPED_TRACE("width " + std::to_string(width));
    const Bytes packed = PackedBitmap(width, 3);
    const auto image_size = static_cast<std::uint32_t>(packed.size()) - kBitmapInfoHeaderBytes;
    cDib dib;
    ASSERT_TRUE(dib.CreateFromPackedDIBPointer(packed.data()));
    const std::string path = File("packed" + std::to_string(width) + ".bmp");
    ASSERT_TRUE(dib.WriteToFile(path));

    // The file header: "BM", the size one past the end as the writer has always stored it, the bits at 54.
    Bytes expected{'B', 'M', 0, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0};
    PutLittleEndian(expected.data() + 2, image_size + 55, 4);
    expected.insert(expected.end(), packed.begin(), packed.end());
    EXPECT_EQ(ReadAll(path), expected);

    cDib read;
    ASSERT_TRUE(read.CreateFromFile(path));
    EXPECT_EQ(read.Width(), width);
    EXPECT_EQ(read.SizeImage(), image_size);
    EXPECT_TRUE(std::equal(packed.begin(), packed.begin() + kBitmapInfoHeaderBytes, read.PointerToBitmapInfo()));
    EXPECT_TRUE(std::equal(packed.begin() + kBitmapInfoHeaderBytes, packed.end(), read.PointerToBits()));
    // The picture reader sees the same pixels, padding and all.
    const auto picture = ReadBmpFile(path);
    ASSERT_TRUE(picture.has_value());
    EXPECT_TRUE(std::equal(picture->bottom_up_bgr.begin(), picture->bottom_up_bgr.end(),
                           packed.begin() + kBitmapInfoHeaderBytes));
  }
}

TEST_F(DibFiles, RefusesFilesThatAreNotBitmapsAndPackedBitmapsWithPalettes) {
  Bytes bytes = PackedBitmap(2, 2);
  bytes.insert(bytes.begin(), {'B', 'A', 70, 0, 0, 0, 0, 0, 0, 0, 54, 0, 0, 0});
  WriteAll(File("not-a-bitmap.bmp"), bytes);
  const auto open_files = [] {
    return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), std::filesystem::directory_iterator{});
  };
  const auto open_before = open_files();
  cDib dib;
  EXPECT_FALSE(dib.CreateFromFile(File("not-a-bitmap.bmp")));
  EXPECT_FALSE(dib.CreateFromFile(File("missing.bmp")));
  EXPECT_EQ(open_files(), open_before) << "a refused read left its file open";

  for (const int bit_count : {8, 15})
    EXPECT_FALSE(dib.CreateFromPackedDIBPointer(PackedBitmap(4, 2, bit_count).data()));
  EXPECT_TRUE(dib.CreateFromPackedDIBPointer(PackedBitmap(4, 2, 16).data()));
  Bytes empty = PackedBitmap(4, 2);
  PutLittleEndian(empty.data() + 20, 0, 4);
  EXPECT_FALSE(dib.CreateFromPackedDIBPointer(empty.data()));
}

// A header may promise any size; neither reader allocates more than the file could fill, and a
// file a little short of its header still reads with the missing bytes zero.
TEST_F(DibFiles, HeadersThatPromiseMoreThanTheFileHoldsAreRefused) {
  const platform::Picture picture = platform::Picture::Blank(4, 2);
  ASSERT_TRUE(WriteBmpFile(picture, File("good.bmp")));
  const Bytes good = ReadAll(File("good.bmp"));
  struct Lie {
    const char* what;
    std::size_t at;
    std::uint32_t value;
    bool cdib_reads;
    bool picture_reads;
  };
  for (const Lie& lie :
       {Lie{"huge image size", 34, 0xFFFFFFF0u, false, true}, Lie{"huge bits offset", 10, 0xFFFFFFF0u, false, false},
        Lie{"width past the limit", 18, 16385, true, false}, Lie{"rows the file lacks", 22, 16000, true, false},
        Lie{"the most negative height", 22, 0x80000000u, true, false}}) {
    SCOPED_TRACE(lie.what);
    Bytes bytes = good;
    PutLittleEndian(bytes.data() + lie.at, lie.value, 4);
    WriteAll(File("lying.bmp"), bytes);
    cDib dib;
    EXPECT_EQ(dib.CreateFromFile(File("lying.bmp")), lie.cdib_reads);
    EXPECT_EQ(cDib().CreateHeadersFromFile(File("lying.bmp")), lie.cdib_reads);
    EXPECT_EQ(ReadBmpFile(File("lying.bmp")).has_value(), lie.picture_reads);
  }
  Bytes short_by_four = good;
  short_by_four.resize(good.size() - 4);
  WriteAll(File("short.bmp"), short_by_four);
  cDib dib;
  ASSERT_TRUE(dib.CreateFromFile(File("short.bmp")));
  EXPECT_EQ(dib.SizeImage(), good.size() - 54);
}

// A 54-byte file that claims 65535 by 65535 pixels (12.9 GB of picture) is refused by its header:
// neither reader sets aside more than a few bytes for it.
TEST_F(DibFiles, AHugeClaimInATinyFileIsRefusedWithoutAllocating) {
  Bytes header = FileWithHeader(kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes, 54);
  PutInfoHeader(header.data() + 14, 65535, 65535, 24,
                static_cast<std::uint32_t>(platform::Picture::StrideFor(65535)) * 65535u);
  const std::string path = File("huge.bmp");
  WriteAll(path, header);
  const std::size_t largest = LargestAllocationOf([&] {
    EXPECT_FALSE(ReadBmpFile(path));
    EXPECT_FALSE(cDib().CreateFromFile(path));
  });
  EXPECT_LT(largest, 4096u);
}

// A 32-bit file of 3 by 2 pixels, pixel (x, y) from the top stored as blue x, green y, red 9
// and a fourth byte 0xEE; with bit fields the masks follow the information header.
Bytes ThirtyTwoBitFile(bool top_down, std::uint32_t compression, std::uint32_t red_mask = 0x00FF0000) {
  const std::uint32_t masks = compression == 3 ? 12 : 0;
  const std::uint32_t offset = 54 + masks;
  Bytes bytes = FileWithHeader(offset + 3 * 2 * 4, offset);
  PutInfoHeader(bytes.data() + 14, 3, top_down ? 0xFFFFFFFEu : 2u, 32, 0, compression);
  if (masks) {
    PutLittleEndian(bytes.data() + 54, red_mask, 4);
    PutLittleEndian(bytes.data() + 58, 0x0000FF00, 4);
    PutLittleEndian(bytes.data() + 62, 0x000000FF, 4);
  }
  for (std::uint8_t y = 0; y < 2; ++y) {
    const std::size_t stored_row = top_down ? y : 1u - y;
    for (std::uint8_t x = 0; x < 3; ++x) {
      std::uint8_t* pixel = bytes.data() + offset + stored_row * 12 + x * 4u;
      pixel[0] = x;
      pixel[1] = y;
      pixel[2] = 9;
      pixel[3] = 0xEE;
    }
  }
  return bytes;
}

TEST_F(DibFiles, ThirtyTwoBitFilesReadWithoutTheirFourthByte) {
  for (const bool top_down : {false, true}) {
    for (const std::uint32_t compression : {0u, 3u}) {
      SCOPED_TRACE(std::string(top_down ? "top-down" : "bottom-up") + ", compression " + std::to_string(compression));
      WriteAll(File("32.bmp"), ThirtyTwoBitFile(top_down, compression));
      const auto picture = ReadBmpFile(File("32.bmp"));
      ASSERT_TRUE(picture.has_value());
      ASSERT_EQ(picture->width, 3);
      ASSERT_EQ(picture->height, 2);
      for (int y = 0; y < 2; ++y)
        for (int x = 0; x < 3; ++x)
          EXPECT_EQ(std::vector<int>(picture->PixelFromTop(x, y), picture->PixelFromTop(x, y) + 3),
                    (std::vector<int>{x, y, 9}));
    }
  }
  WriteAll(File("other-masks.bmp"), ThirtyTwoBitFile(false, 3, 0xFF000000));
  EXPECT_FALSE(ReadBmpFile(File("other-masks.bmp")).has_value());
  Bytes short_rows = ThirtyTwoBitFile(false, 0);
  short_rows.resize(short_rows.size() - 4);
  WriteAll(File("short32.bmp"), short_rows);
  EXPECT_FALSE(ReadBmpFile(File("short32.bmp")).has_value());
}

TEST_F(DibFiles, WritingOverALongerFileKeepsItsTail) {
  const std::string path = File("longer.bmp");
  WriteAll(path, Bytes(1000, 0xAA));
  const Bytes packed = PackedBitmap(3, 2);
  cDib dib;
  ASSERT_TRUE(dib.CreateFromPackedDIBPointer(packed.data()));
  ASSERT_TRUE(dib.WriteToFile(path));
  const Bytes bytes = ReadAll(path);
  ASSERT_EQ(bytes.size(), 1000u);
  EXPECT_EQ(bytes[0], 'B');
  EXPECT_TRUE(std::equal(packed.begin(), packed.end(), bytes.begin() + 14));
  EXPECT_TRUE(std::all_of(bytes.begin() + 14 + static_cast<long>(packed.size()), bytes.end(),
                          [](std::uint8_t b) { return b == 0xAA; }));
  EXPECT_FALSE(dib.WriteToFile(File("no-such-folder/x.bmp")));
}

// A 3 by 2 picture, top row first: red, green, blue over white, black, yellow (blue, green, red).
constexpr std::uint8_t kColours[6][3] = {{0, 0, 255},     {0, 255, 0}, {255, 0, 0},
                                         {255, 255, 255}, {0, 0, 0},   {0, 255, 255}};

// The colour of pixel `pixel` (counted from the top left) as a file of `bits` per pixel holds it:
// palette files of 1 bit have only the first two colours.
int ColourIndex(int pixel, int bits) { return bits <= 8 ? pixel % std::min(6, 1 << bits) : pixel; }

Bytes SmallBitmapFile(int bits, bool top_down) {
  constexpr int kWidth = 3, kHeight = 2;
  const std::size_t stride = (kWidth * static_cast<std::size_t>(bits) + 31) / 32 * 4;
  Bytes palette;
  for (int entry = 0; bits <= 8 && entry < (1 << bits); ++entry)
    palette.insert(palette.end(), {kColours[entry % 6][0], kColours[entry % 6][1], kColours[entry % 6][2], 0});
  Bytes rows(stride * kHeight, 0);
  for (int stored = 0; stored < kHeight; ++stored) {
    const int from_top = top_down ? stored : kHeight - 1 - stored;
    std::uint8_t* row = rows.data() + stride * static_cast<std::size_t>(stored);
    for (int x = 0; x < kWidth; ++x) {
      const int colour = ColourIndex(from_top * kWidth + x, bits);
      const std::uint8_t* bgr = kColours[colour];
      if (bits <= 8) {
        const int per_byte = 8 / bits;
        row[x / per_byte] |= static_cast<std::uint8_t>(colour << (bits * (per_byte - 1 - x % per_byte)));
      } else if (bits == 16) {
        PutLittleEndian(row + 2 * x, static_cast<std::uint32_t>((bgr[2] >> 3) << 10 | (bgr[1] >> 3) << 5 | bgr[0] >> 3),
                        2);
      } else {
        std::copy_n(bgr, 3, row + x * (bits / 8));
      }
    }
  }
  const auto offset = static_cast<std::uint32_t>(kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes + palette.size());
  Bytes file = FileWithHeader(offset, offset);
  PutInfoHeader(file.data() + kBitmapFileHeaderBytes, kWidth, static_cast<std::uint32_t>(top_down ? -kHeight : kHeight),
                static_cast<std::uint32_t>(bits), static_cast<std::uint32_t>(rows.size()));
  std::copy(palette.begin(), palette.end(), file.begin() + kBitmapFileHeaderBytes + kBitmapInfoHeaderBytes);
  file.insert(file.end(), rows.begin(), rows.end());
  return file;
}

// The movie builder takes any uncompressed depth: each becomes the same upright BGR frame.
TEST_F(DibFiles, MovieFramesOfEveryDepthAndRowOrderAreTheSamePicture) {
  for (const int bits : {1, 4, 8, 16, 24, 32}) {
    for (const bool top_down : {false, true}) {
      SCOPED_TRACE(std::to_string(bits) + " bits" + (top_down ? ", top down" : ""));
      WriteAll(File("small.bmp"), SmallBitmapFile(bits, top_down));
      cDib dib;
      ASSERT_TRUE(dib.CreateFromFile(File("small.bmp")));
      platform::Picture converted;
      const auto frame = MovieFrameOf(dib, converted);
      ASSERT_TRUE(frame.has_value());
      ASSERT_EQ(frame->width, 3);
      ASSERT_EQ(frame->height, 2);
      const platform::Picture picture = platform::Picture::CopyOf(*frame);
      cDib headers;  // what the builder reads to accept a file
      ASSERT_TRUE(headers.CreateHeadersFromFile(File("small.bmp")));
      EXPECT_EQ(headers.BitCount(), bits);
      EXPECT_EQ(headers.Height(), dib.Height());
      EXPECT_EQ(headers.BitsSize(), 0u);
      for (int pixel = 0; pixel < 6; ++pixel) {
        const std::uint8_t* got = picture.PixelFromTop(pixel % 3, pixel / 3);
        const std::uint8_t* expected = kColours[ColourIndex(pixel, bits)];
        EXPECT_TRUE(std::equal(got, got + 3, expected)) << "pixel " << pixel;
      }
    }
  }
  // Compressed bits, and bits shorter than the rows, make no frame.
  Bytes compressed = SmallBitmapFile(8, false);
  PutLittleEndian(compressed.data() + 30, 1, 4);
  Bytes short_bits = SmallBitmapFile(24, false);
  PutLittleEndian(short_bits.data() + 34, 12, 4);
  for (const Bytes& refused : {compressed, short_bits}) {
    WriteAll(File("refused.bmp"), refused);
    cDib dib;
    ASSERT_TRUE(dib.CreateFromFile(File("refused.bmp")));
    platform::Picture converted;
    EXPECT_FALSE(MovieFrameOf(dib, converted).has_value());
  }
}

}  // namespace
}  // namespace zr
