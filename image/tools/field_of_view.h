#pragma once
// The field of view calculator: what a lens sees of a sensor's size at a distance. Three
// inputs, two labels, recomputed at each change. Both labels show the height: the width is
// worked out and never shown, as operators of this window have always read it.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

struct FieldOfView {
  double width = 0;   // metres
  double height = 0;  // metres
};

// `value` rounded to `places` decimals, halves to the even neighbour (2.0005 stays 2 when the
// product lands below the half; 0.0125 to two places is 0.01).
double RoundToPlaces(double value, int places);

// The sensor of list entry `index` seen through `lens` millimetres at `distance` metres,
// each size rounded to three decimals; 0 by 0 for an index the sensor table has not. Raises
// DivisionByZeroError for a lens of 0.
FieldOfView CalculateFOV(int index, double lens, double distance);

class FOV : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "FOV";
  explicit FOV(Program& program);

  ui::ListControl ccd{*this, "ccd"};
  ui::TextBox ccd_lens{*this, "ccd_lens"};
  ui::TextBox ccd_object{*this, "ccd_object"};
  ui::Label fov_H{*this, "fov_H"};
  ui::Label fov_W{*this, "fov_W"};
  ui::ControlArray<ui::Label> Labels;

  void Load() override;
  // Reads the three inputs and shows the result; a lens of 0 leaves the labels as they were.
  void RefreshData();

 private:
  Program& program_;
};

}  // namespace zr
