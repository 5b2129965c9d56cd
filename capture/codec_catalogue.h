#pragma once
// The catalogue of compressor codes: the file codec.zr in the program folder turns a movie's
// four-character code into a description an operator can read. Each stored line is shifted
// one character code up; its first line, unshifted, is the header, and every other line is the
// code in columns 1 to 4, one separator, and the description from column 6 on. The program
// ships its own catalogue (scripts/make_codec_catalogue.py writes it at build time).

#include <string>
#include <string_view>

#include "core/program.h"

namespace zr {

inline constexpr const char* kCodecCatalogueFile = "codec.zr";
inline constexpr std::string_view kCodecCatalogueHeader = "ZR2000 CODEC INFO 9091";

// A stored line as it reads: every character one code lower, the length unchanged.
std::string CodecLine(std::string_view stored);

// The description of `four_cc` (any case): "Unknown CODEC (" + the code in capitals + ")" when
// the catalogue has no line for it. A catalogue that cannot be opened gives the box C100 and
// nothing to describe; one with a foreign header gives the box C101 and "Error".
std::string CodecDescription(Program& program, std::string_view four_cc);

// The command "What Codec...": asks for a movie and tells which compressor its video track
// needs. A file without the stream header at its usual place is passed over without a word.
void WhatCodec(Program& program);

}  // namespace zr
