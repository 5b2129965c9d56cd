#include "movie/information_chunk.h"

#include <cmath>
#include <fstream>
#include <string_view>

namespace zr {

namespace {

// The capturing program's name, in INAM; the operator does not edit it.
constexpr std::string_view kProgramName = "Video Zandrell";

void PutTag(std::vector<std::uint8_t>& block, std::string_view tag) {
  block.insert(block.end(), tag.begin(), tag.end());
}

void PutSize(std::vector<std::uint8_t>& block, std::uint32_t size) {
  for (int shift = 0; shift < 32; shift += 8) block.push_back(static_cast<std::uint8_t>(size >> shift));
}

// A tag, the length of its text with the terminating zero, the text and the zero; no padding.
void PutItem(std::vector<std::uint8_t>& block, std::string_view tag, std::string_view text) {
  PutTag(block, tag);
  PutSize(block, static_cast<std::uint32_t>(text.size() + 1));
  block.insert(block.end(), text.begin(), text.end());
  block.push_back(0);
}

}  // namespace

std::vector<std::uint8_t> InformationBlock(const InformationTexts& texts) {
  const auto& [copyright, artist, subject, product, source, comments] = texts;
  std::vector<std::uint8_t> items;
  PutTag(items, "INFO");
  PutItem(items, "ICOP", copyright);
  PutItem(items, "IART", artist);
  PutItem(items, "ICMT", comments);
  PutItem(items, "INAM", kProgramName);
  PutItem(items, "IPRD", product);
  PutItem(items, "ISBJ", subject);
  PutItem(items, "ISRC", source);
  std::vector<std::uint8_t> block;
  PutTag(block, "LIST");
  PutSize(block, static_cast<std::uint32_t>(items.size()));
  block.insert(block.end(), items.begin(), items.end());
  return block;
}

float DecodeSizeField(const std::array<std::uint8_t, 4>& bytes) {
  float sum = 0;
  float place = 1;
  for (const std::uint8_t byte : bytes) {
    for (int bit = 0; bit < 8; ++bit) {
      if ((byte >> bit) & 1) sum += place;
      place *= 2;
    }
  }
  return sum;
}

// Halving a single-precision number and truncating it are exact, so the digits are those of
// the value as it stands; a value beyond 32 digits keeps its lowest 32.
std::array<std::uint8_t, 4> EncodeSizeField(float size) {
  std::array<std::uint8_t, 4> bytes{};
  float rest = std::trunc(size);
  for (std::size_t digit = 0; digit < 32 && rest > 0; ++digit) {
    const float half = std::trunc(rest / 2);
    if (rest - half * 2 > 0) bytes[digit / 8] = static_cast<std::uint8_t>(bytes[digit / 8] | (1u << (digit % 8)));
    rest = half;
  }
  return bytes;
}

void WriteAviInfo(const std::string& path, const std::string& copyright, const std::string& artist,
                  const std::string& subject, const std::string& product, const std::string& source,
                  const std::string& comments) {
  const std::vector<std::uint8_t> block = InformationBlock({copyright, artist, subject, product, source, comments});
  {
    std::ofstream append(path, std::ios::binary | std::ios::app);
    if (!append) return;
    append.write(reinterpret_cast<const char*>(block.data()), static_cast<std::streamsize>(block.size()));
    append.write("\r\n", 2);
  }
  std::fstream file(path, std::ios::binary | std::ios::in | std::ios::out);
  std::array<std::uint8_t, 4> field{};
  file.seekg(4);
  if (!file.read(reinterpret_cast<char*>(field.data()), field.size())) return;
  const float grown = DecodeSizeField(field) + static_cast<float>(block.size());
  field = EncodeSizeField(grown);
  file.seekp(4);
  file.write(reinterpret_cast<const char*>(field.data()), field.size());
}

}  // namespace zr
