#pragma once
// The capture devices' own dialogs on the desktop: the format list, the source settings
// (input and adjustments, applied as the operator moves them) and a compressor's setting.

#include <QPointer>
#include <QWidget>

#include "platform/device_settings.h"

namespace zr::gui {

class QtDeviceDialogs final : public platform::DeviceDialogHost {
 public:
  void SetParentWindow(QWidget* parent) { parent_ = parent; }
  std::optional<int> ChooseFormat(const std::string& device, const std::vector<platform::SourceFormat>& formats,
                                  int current_row) override;
  void EditSource(const std::string& device, platform::DeviceSettings& settings) override;
  std::optional<int> EditCompressorSetting(const std::string& compressor,
                                           const platform::CompressorSetting& setting) override;

 private:
  QPointer<QWidget> parent_;  // guarded as the dialogs' parent is (gui/qt_services.h)
};

}  // namespace zr::gui
