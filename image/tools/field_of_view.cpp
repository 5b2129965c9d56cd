#include "image/tools/field_of_view.h"

#include <array>
#include <cmath>

#include "base/formatting.h"
#include "core/window_registry.h"

namespace zr {

namespace {

// The sensor sizes in millimetres by list entry. The sizes run by size and the list by its
// text, so entry and size do not match; the pairing is the one operators know.
struct SensorSize {
  double width;
  double height;
};
constexpr std::array<SensorSize, 5> kSensors{{{3.6, 2.7}, {4.8, 3.6}, {6.4, 4.8}, {8.8, 6.6}, {12.8, 9.6}}};
constexpr std::array<const char*, 5> kSensorTexts{"1\"", "1/2\"", "1/3\"", "1/4\"", "2/3\""};
constexpr int kSensorAtOpening = 2;

}  // namespace

double RoundToPlaces(double value, int places) {
  const double scale = std::pow(10.0, places);
  return std::nearbyint(value * scale) / scale;
}

FieldOfView CalculateFOV(int index, double lens, double distance) {
  const double f = Divide(distance, lens);
  if (index < 0 || index >= static_cast<int>(kSensors.size())) return {};
  const SensorSize& sensor = kSensors[static_cast<std::size_t>(index)];
  return {RoundToPlaces(f * sensor.width, 3), RoundToPlaces(f * sensor.height, 3)};
}

FOV::FOV(Program& program) : ui::Window(program.services.loop, "FOV"), program_(program) {
  for (int index = 0; index < 3; ++index) Labels.Add(*this, "Labels", index);
  ccd_lens.Text = "8";
  ccd_object.Text = "10";
  ccd.OnClick = [this] { RefreshData(); };
  ccd_lens.OnChange = [this] { RefreshData(); };
  ccd_object.OnChange = [this] { RefreshData(); };
}

void FOV::Load() {
  Caption = kAppTitle;
  Labels(0).Caption = program_.Translate("Sensor size (inches):");
  Labels(1).Caption = program_.Translate("Lens (mm):");
  Labels(2).Caption = program_.Translate("Distance (meters):");
  for (const char* text : kSensorTexts) ccd.AddItem(text);
  ccd.ListIndex = kSensorAtOpening;
  RefreshData();
}

// The leading digits of the texts count ("7mm" is 7, "far" is 0).
void FOV::RefreshData() {
  double lens = 0;
  double distance = 0;
  ResumeNext([&] { lens = NumericPrefix(ccd_lens.Text.get()); });
  ResumeNext([&] { distance = NumericPrefix(ccd_object.Text.get()); });
  FieldOfView field;
  try {
    field = CalculateFOV(ccd.ListIndex, lens, distance);
  } catch (const DivisionByZeroError&) {
    return;
  }
  // The shortest number text, with the desktop's decimal sign.
  std::string height = NumberText(RoundToPlaces(field.height, 3));
  if (const auto point = height.find('.'); point != std::string::npos)
    height.replace(point, 1, program_.services.desktop.DecimalSign());
  fov_H.Caption = program_.Translate("Vertical Field of view (H): ") + height + " meter(s)";
  fov_W.Caption = program_.Translate("Horizontal Field of view (W): ") + height + " meter(s)";
}

const WindowRegistration<FOV> kRegistration{};

}  // namespace zr
