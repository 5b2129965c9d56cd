#include "image/tools/field_of_view.h"

#include <gtest/gtest.h>

#include "base/formatting.h"

namespace zr {
namespace {

TEST(RoundToPlaces, RoundsHalvesToTheEvenNeighbour) {
  struct Case {
    double value;
    int places;
    double expected;
  };
  const Case cases[] = {{0.0625, 3, 0.062}, {0.1875, 3, 0.188},  {2.5, 0, 2},
                        {3.5, 0, 4},        {6.85714, 3, 6.857}, {-0.0625, 3, -0.062}};
  for (const Case& c : cases) EXPECT_DOUBLE_EQ(RoundToPlaces(c.value, c.places), c.expected) << c.value;
}

TEST(CalculateFOV, ScalesTheSensorOfTheEntryByDistanceOverLens) {
  struct Case {
    int index;
    double lens, distance, width, height;
  };
  const Case cases[] = {
      {2, 8, 10, 8, 6},  // 6.4 by 4.8 mm at 1.25
      {5, 8, 10, 0, 0},  // no such entry
      {-1, 8, 10, 0, 0},
  };
  for (const Case& c : cases) {
    const FieldOfView field = CalculateFOV(c.index, c.lens, c.distance);
    EXPECT_DOUBLE_EQ(field.width, c.width) << c.index;
    EXPECT_DOUBLE_EQ(field.height, c.height) << c.index;
  }
  EXPECT_THROW(CalculateFOV(2, 0, 10), DivisionByZeroError);
}

}  // namespace
}  // namespace zr
