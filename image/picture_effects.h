#pragma once
// The picture effects: per-pixel filters from a source picture into a destination of the same
// size that starts black. Their arithmetic, odd rules included, is the program's look:
// pixels a filter's ranges leave out stay black, reads outside the picture give -1 in each
// component, and every component written is clamped (255 and above give 255, below 1 gives 0).
// Pixels are numbered as the operator sees them: x from the left, y from the top; W1 and H1 are
// the last column and the last row. Each runs over whole rows or columns of the picture's bytes.

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

#include "platform/picture.h"

namespace zr {

enum class Effect {
  Grayscaling,
  FlipHorizontal,
  FlipVertical,
  Rotate,
  Inverting,
  Softening,
  Lighting,
  Sharpening,
  Solarizing,
  Embossing,
  Diffusing,
};

// What an effect takes besides the picture: the angle of Rotate in degrees, the seed of the
// random generator Diffusing draws its offsets from.
struct EffectInputs {
  std::int16_t angle = 0;
  std::uint32_t seed = 0;
};

// "Grayscaling...", "Flip Horizontal...", and so on: the text the effect's progress shows.
std::string_view EffectText(Effect effect);

// The progress texts an effect shows over a picture `width` pixels wide, in order: after each
// column x it walks whose number is divisible by round(W1 / 20), the text, a blank and
// floor(x / W1 * 100) with "%". A picture too narrow for that step (W1 of 10 or less) raises
// DivisionByZeroError after the first column, as long as the effect walks any column at all.
std::vector<std::string> EffectProgress(Effect effect, int width);

// The effect of `source`, as a new picture of its size.
//  Grayscaling     the floor of the mean of the three components, in all three.
//  Inverting       255 - each component.
//  FlipHorizontal  the pixel goes to (W1 - x, H1 - y): a half turn.
//  FlipVertical    the pixel goes to (W1 - x, y): the mirror left to right.
//  Rotate          (x cos a + y sin a, x sin a + y cos a) with a = 3 * angle / 180 * 3, where
//                  the positions fall inside: no true rotation, but the program's own.
//  Softening       x and y from 1; the mean of the 3 by 3 block plus the result before, over 9:
//                  the sums carry the last clamped result from pixel to pixel, down each column
//                  and on into the next, which drags the picture slightly along y.
//  Lighting        each column from L = H1 + 1 - x, stepping down by a sine towards 50:
//                  floor(c / 2 + L / 4).
//  Sharpening      x and y from 1 to W1 - 2 and H1 - 2: round(c + (c - p) / 2), p up and left,
//                  ties to even.
//  Solarizing      R and G inverted below 128, B unless exactly 128; a component not inverted
//                  repeats the value last written for it, walking down the columns.
//  Embossing       x and y from 1 to W1 - 2 and H1 - 2: |c - n + 128|, n down and right.
//  Diffusing       the pixel at an offset of -2 to 2 in x and y, drawn from the program's random
//                  generator seeded with `inputs.seed`; outside the picture it is black.
platform::Picture ApplyEffect(Effect effect, const platform::Picture& source, const EffectInputs& inputs = {});

}  // namespace zr
