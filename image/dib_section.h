#pragma once
// A 24-bit drawable bitmap: blue, green, red pixels, the bottom row first in memory, each row
// padded to four bytes. The JPEG writer takes its pixels straight from here, and the picture
// window resamples and fills it. Blits take coordinates from the top, as a drawing surface does,
// and always copy plainly: the only raster operation the program uses.

#include <cstdint>

#include "platform/picture.h"
#include "platform/services.h"

namespace zr {

// What became of a copy to the clipboard.
enum class ClipboardCopy { Copied, NothingToCopy, DibFormatRefused };

class cDIBSection {
 public:
  // The pixels go to the clipboard as a picture. The bitmap format cannot be handed over; the
  // window that asked says so.
  ClipboardCopy CopyToClipboard(platform::Clipboard& clipboard, bool as_dib) const;
  // Takes the size of `picture` and copies it in.
  bool CreateFromPicture(const platform::Picture& picture);
  // A black bitmap of this size, replacing what was held; false for a size the bitmap refuses.
  bool Create(int width, int height);
  // Bytes of one padded row.
  long BytesPerScanLine() const { return platform::Picture::StrideFor(pixels_.width); }
  long Width() const { return pixels_.width; }
  long Height() const { return pixels_.height; }

  // Copies from `source` at (source_x, source_y) into this bitmap at (0, 0); a negative width or
  // height stands for the whole of this bitmap. What falls outside either bitmap is left out.
  void LoadPictureBlt(const platform::Picture& source, int source_x, int source_y, int width, int height);
  // Copies from this bitmap at (source_x, source_y) into `destination` at (x, y); negative sizes
  // as above.
  void PaintPicture(platform::Picture& destination, int x, int y, int width, int height, int source_x = 0,
                    int source_y = 0) const;

  std::uint8_t* DIBSectionBitsPtr() { return pixels_.bottom_up_bgr.data(); }
  const std::uint8_t* DIBSectionBitsPtr() const { return pixels_.bottom_up_bgr.data(); }
  const platform::Picture& Pixels() const { return pixels_; }

  // Fills with noise from a generator started at `seed`: gray gives one value to all three
  // components, else blue is 0 and green and red are drawn on their own.
  void RandomiseBits(bool gray, std::uint32_t seed);
  // Lets the bitmap go: the size becomes 0 by 0.
  void ClearUp() { pixels_ = platform::Picture{}; }

  // A new bitmap of the given size: a copy when the size is the same, else bilinear.
  cDIBSection Resample(int new_height, int new_width) const;

 private:
  void ResampleInto(cDIBSection& target) const;

  platform::Picture pixels_;
};

}  // namespace zr
