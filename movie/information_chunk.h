#pragma once
// The information chunk of a movie: a RIFF "LIST" "INFO" block with the operator's copyright,
// artist, subject, product, source and comment texts and the name of the capturing program,
// appended to a finished AVI file whose RIFF size is then grown by the block.
//
// The block is the format as it has always been written: the tags in the order ICOP, IART,
// ICMT, INAM, IPRD, ISBJ, ISRC, every one written even for an empty text, and no padding to
// even lengths. The RIFF size goes through the program's 32-bit floating-point arithmetic, so
// above 16,777,216 it is rounded to 24 significant bits.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace zr {

// The six texts, in the order of the state's AviInfoText: copyright, artist, subject,
// product, source, comments.
using InformationTexts = std::array<std::string, 6>;

// The block as it is appended, without the line end that follows it in the file.
std::vector<std::uint8_t> InformationBlock(const InformationTexts& texts);

// The RIFF size field read and written the program's way: the bits summed from the lowest in
// single precision, rounding at every step; and a single-precision value written as its 32
// binary digits, lowest byte first.
float DecodeSizeField(const std::array<std::uint8_t, 4>& bytes);
std::array<std::uint8_t, 4> EncodeSizeField(float size);

// Appends the block and a line end to the file at `path` and grows its RIFF size (the four
// bytes at offset 4) by the block's length. A file that cannot be opened for appending is left
// as it is; a missing file is made, holding the lone block.
void WriteAviInfo(const std::string& path, const std::string& copyright, const std::string& artist,
                  const std::string& subject, const std::string& product, const std::string& source,
                  const std::string& comments);

}  // namespace zr
