#!/usr/bin/env python3
"""Writes codec.zr, the program's catalogue of compressor codes.

Each line is stored shifted one character code up; unshifted, the first line is the header and
every other line is a four-character code, one blank, and a plain description. The catalogue is
read as delimited text, so a description may hold neither "+" nor "!" (stored, they become the
field's comma and quote); the script refuses them.

    make_codec_catalogue.py OUTPUT
"""

import sys

HEADER = "ZR2000 CODEC INFO 9091"

# Code, description. The codes are those the movie header's video handler carries.
CODECS = [
    ("MJPG", "Motion JPEG: every frame is a JPEG picture of its own"),
    ("AVRN", "Motion JPEG: every frame is a JPEG picture of its own"),
    ("XVID", "MPEG-4 Visual video (Xvid)"),
    ("DIVX", "MPEG-4 Visual video (DivX 4 and later)"),
    ("DX50", "MPEG-4 Visual video (DivX 5)"),
    ("FMP4", "MPEG-4 Visual video"),
    ("MP4V", "MPEG-4 Visual video"),
    ("H264", "H.264 (AVC) video"),
    ("X264", "H.264 (AVC) video"),
    ("AVC1", "H.264 (AVC) video"),
    ("HEVC", "H.265 (HEVC) video"),
    ("H265", "H.265 (HEVC) video"),
    ("FFV1", "FFV1 lossless video"),
    ("HFYU", "HuffYUV lossless video"),
    ("FFVH", "HuffYUV lossless video, extended"),
    ("MPG4", "MPEG-4 video, first Windows version"),
    ("MP42", "MPEG-4 video, second Windows version"),
    ("MP43", "MPEG-4 video, third Windows version"),
    ("WMV1", "Windows Media Video 7"),
    ("WMV2", "Windows Media Video 8"),
    ("WMV3", "Windows Media Video 9"),
    ("DVSD", "DV video, standard definition"),
    ("DV25", "DV video at 25 Mbit/s"),
    ("DV50", "DV video at 50 Mbit/s"),
    ("CVID", "Cinepak video"),
    ("IV50", "Indeo video 5"),
    ("MPG1", "MPEG-1 video"),
    ("MPG2", "MPEG-2 video"),
    ("VP80", "VP8 video"),
    ("VP90", "VP9 video"),
    ("AV01", "AV1 video"),
    ("MSVC", "Video 1: 8 or 16 bits a pixel, few colours"),
    ("CRAM", "Video 1: 8 or 16 bits a pixel, few colours"),
    ("MRLE", "Run-length coded bitmap, 4 or 8 bits a pixel"),
    ("RLE8", "Run-length coded bitmap, 8 bits a pixel"),
    ("IYUV", "Uncompressed YUV 4:2:0, three planes"),
    ("I420", "Uncompressed YUV 4:2:0, three planes"),
    ("YV12", "Uncompressed YUV 4:2:0, three planes, colour planes swapped"),
    ("NV12", "Uncompressed YUV 4:2:0, colour samples interleaved"),
    ("YUY2", "Uncompressed YUV 4:2:2, packed as Y U Y V"),
    ("YUYV", "Uncompressed YUV 4:2:2, packed as Y U Y V"),
    ("UYVY", "Uncompressed YUV 4:2:2, packed as U Y V Y"),
    ("YVYU", "Uncompressed YUV 4:2:2, packed as Y V Y U"),
    ("Y800", "Uncompressed grey, 8 bits a pixel"),
    ("GREY", "Uncompressed grey, 8 bits a pixel"),
    ("RGB ", "Uncompressed RGB bitmap"),
    ("DIB ", "Uncompressed RGB bitmap"),
]


def shifted(line):
    return "".join(chr(ord(character) + 1) for character in line)


def catalogue_lines():
    lines = [HEADER]
    for code, description in CODECS:
        if len(code) != 4:
            raise ValueError(f"{code!r} is not a four-character code")
        if any(character in description for character in "+!") or not description.isascii():
            raise ValueError(f"the description of {code} holds a character the catalogue cannot keep")
        lines.append(f"{code} {description}")
    return lines


def main(output):
    with open(output, "w", encoding="ascii", newline="") as catalogue:
        for line in catalogue_lines():
            catalogue.write(shifted(line) + "\r\n")


if __name__ == "__main__":
    if len(sys.argv) != 2:
        sys.exit(__doc__)
    main(sys.argv[1])
