#include "gui/device_dialogs.h"

#include <QCheckBox>
#include <QComboBox>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFormLayout>
#include <QInputDialog>
#include <QLabel>
#include <QSlider>
#include <QVBoxLayout>
#include <algorithm>

#include "gui/toolkit_language.h"

namespace zr::gui {

namespace {

QString Text(const std::string& text) { return QString::fromStdString(text); }

QString FormatText(const platform::SourceFormat& format) {
  return QString("%1 x %2, %3 bits").arg(format.width).arg(format.height).arg(format.bits_per_pixel);
}

// One adjustment: a switch or a slider with its value beside it, applied as it moves.
QWidget* AdjustmentOf(const platform::SourceControl& control, platform::DeviceSettings& settings, QLabel& problem,
                      QWidget* parent) {
  const auto apply = [&settings, &problem, id = control.id](int value) {
    const auto applied = settings.SetControl(id, value);
    problem.setText(applied ? QString() : Text(applied.error().message));
  };
  if (control.is_switch) {
    auto* box = new QCheckBox(parent);
    box->setChecked(control.value != 0);
    QObject::connect(box, &QCheckBox::toggled, box, [apply](bool on) { apply(on ? 1 : 0); });
    return box;
  }
  auto* row = new QWidget(parent);
  auto* layout = new QHBoxLayout(row);
  layout->setContentsMargins(0, 0, 0, 0);
  auto* slider = new QSlider(Qt::Horizontal, row);
  slider->setRange(control.minimum, control.maximum);
  slider->setSingleStep(std::max(control.step, 1));
  slider->setValue(control.value);
  auto* value = new QLabel(QString::number(control.value), row);
  value->setMinimumWidth(40);
  layout->addWidget(slider, 1);
  layout->addWidget(value);
  QObject::connect(slider, &QSlider::valueChanged, slider, [apply, value](int now) {
    value->setText(QString::number(now));
    apply(now);
  });
  return row;
}

}  // namespace

std::optional<int> QtDeviceDialogs::ChooseFormat(const std::string& device,
                                                 const std::vector<platform::SourceFormat>& formats, int current_row) {
  QStringList rows;
  for (const auto& format : formats) rows << FormatText(format);
  bool chosen = false;
  const int last_row = std::max(static_cast<int>(rows.size()) - 1, 0);
  const QString row = QInputDialog::getItem(parent_, Text(device), Translate("Video format:"), rows,
                                            std::clamp(current_row, 0, last_row), false, &chosen);
  if (!chosen) return std::nullopt;
  return static_cast<int>(rows.indexOf(row));
}

void QtDeviceDialogs::EditSource(const std::string& device, platform::DeviceSettings& settings) {
  QDialog dialog(parent_);
  dialog.setWindowTitle(Text(device));
  auto* layout = new QVBoxLayout(&dialog);
  auto* form = new QFormLayout;
  layout->addLayout(form);
  auto* problem = new QLabel(&dialog);
  problem->setStyleSheet("color: #c62828;");
  const auto inputs = settings.Inputs();
  if (!inputs.empty()) {
    auto* input = new QComboBox(&dialog);
    for (const auto& name : inputs) input->addItem(Text(name));
    input->setCurrentIndex(settings.CurrentInput());
    QObject::connect(input, &QComboBox::activated, &dialog, [&settings, problem](int index) {
      const auto selected = settings.SelectInput(index);
      problem->setText(selected ? QString() : Text(selected.error().message));
    });
    form->addRow(Translate("Input:"), input);
  }
  for (const auto& control : settings.Controls())
    form->addRow(Text(control.name) + ":", AdjustmentOf(control, settings, *problem, &dialog));
  if (inputs.empty() && settings.Controls().empty())
    form->addRow(new QLabel(Translate("This source has no settings to adjust."), &dialog));
  layout->addWidget(problem);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Close, &dialog);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);
  layout->addWidget(buttons);
  dialog.exec();
}

std::optional<int> QtDeviceDialogs::EditCompressorSetting(const std::string& compressor,
                                                          const platform::CompressorSetting& setting) {
  bool chosen = false;
  const int value = QInputDialog::getInt(parent_, Text(compressor), Text(setting.label) + ":", setting.value,
                                         setting.minimum, setting.maximum, 1, &chosen);
  if (!chosen) return std::nullopt;
  return value;
}

}  // namespace zr::gui
