// AVI files of any bytes: the movie reader's headers, then the information chunk appended as a
// finished run does, growing the RIFF size by exactly the block through single precision.

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "movie/information_chunk.h"
#include "platform/linux/ffmpeg_movie_files.h"
#include "tests/fuzz/input_file.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string path = zr::fuzz::WriteInputFile(data, size, ".avi");
  if (const auto info = zr::platform::linux_impl::FfmpegMovieFiles().ReadInfo(path); info.ok()) {
    zr::fuzz::Require(info->frame_count >= 0);
  }
  const zr::InformationTexts texts = {"(c)", "artist", "subject", "product", "source", "comments"};
  zr::WriteAviInfo(path, texts[0], texts[1], texts[2], texts[3], texts[4], texts[5]);
  const std::size_t block = zr::InformationBlock(texts).size();
  zr::fuzz::Require(std::filesystem::file_size(path) == size + block + 2);
  if (size >= 8) {
    std::array<std::uint8_t, 4> before{};
    std::memcpy(before.data(), data + 4, 4);
    const auto expected = zr::EncodeSizeField(zr::DecodeSizeField(before) + static_cast<float>(block));
    std::array<std::uint8_t, 4> after{};
    std::ifstream(path, std::ios::binary).seekg(4).read(reinterpret_cast<char*>(after.data()), 4);
    zr::fuzz::Require(after == expected);
  }
  return 0;
}
