#include "gui/qt_services.h"

#include <QClipboard>
#include <QColorDialog>
#include <QComboBox>
#include <QCursor>
#include <QDialog>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QGuiApplication>
#include <QInputDialog>
#include <QLabel>
#include <QMenu>
#include <QMessageBox>
#include <QPainter>
#include <QPrintDialog>
#include <QPrinter>
#include <QPushButton>
#include <QSpinBox>
#include <utility>
#include <vector>

#include "gui/picture_image.h"
#include "gui/toolkit_language.h"

namespace zr::gui {

namespace {

using platform::MessageAnswer;
using platform::MessageButtons;
using platform::MessageIcon;

QString Text(const std::string& text) { return QString::fromStdString(text); }

QMessageBox::Icon ToolkitIcon(MessageIcon icon) {
  switch (icon) {
    case MessageIcon::Stop:
      return QMessageBox::Critical;
    case MessageIcon::Question:
      return QMessageBox::Question;
    case MessageIcon::Exclamation:
      return QMessageBox::Warning;
    case MessageIcon::Information:
      return QMessageBox::Information;
    case MessageIcon::None:
      break;
  }
  return QMessageBox::NoIcon;
}

// The buttons of each set, in the order they stand, with the answer each gives.
std::vector<std::pair<QMessageBox::StandardButton, MessageAnswer>> ButtonsOf(MessageButtons buttons) {
  switch (buttons) {
    case MessageButtons::Ok:
      return {{QMessageBox::Ok, MessageAnswer::Ok}};
    case MessageButtons::OkCancel:
      return {{QMessageBox::Ok, MessageAnswer::Ok}, {QMessageBox::Cancel, MessageAnswer::Cancel}};
    case MessageButtons::AbortRetryIgnore:
      return {{QMessageBox::Abort, MessageAnswer::Abort},
              {QMessageBox::Retry, MessageAnswer::Retry},
              {QMessageBox::Ignore, MessageAnswer::Ignore}};
    case MessageButtons::YesNoCancel:
      return {{QMessageBox::Yes, MessageAnswer::Yes},
              {QMessageBox::No, MessageAnswer::No},
              {QMessageBox::Cancel, MessageAnswer::Cancel}};
    case MessageButtons::YesNo:
      return {{QMessageBox::Yes, MessageAnswer::Yes}, {QMessageBox::No, MessageAnswer::No}};
    case MessageButtons::RetryCancel:
      return {{QMessageBox::Retry, MessageAnswer::Retry}, {QMessageBox::Cancel, MessageAnswer::Cancel}};
  }
  return {{QMessageBox::Ok, MessageAnswer::Ok}};
}

}  // namespace

MessageAnswer QtDialogs::MessageBox(const platform::MessageBoxRequest& request) {
  QMessageBox box(ToolkitIcon(request.icon), Text(request.title), Text(request.text), QMessageBox::NoButton, parent_);
  const auto buttons = ButtonsOf(request.buttons);
  QMessageBox::StandardButtons standard;
  for (const auto& [button, answer] : buttons) standard |= button;
  box.setStandardButtons(standard);
  box.setDefaultButton(buttons.front().first);
  // Closing the box answers as its last button does (Cancel or No), or OK when it has one.
  box.setEscapeButton(buttons.back().first);
  const auto clicked = static_cast<QMessageBox::StandardButton>(box.exec());
  for (const auto& [button, answer] : buttons)
    if (button == clicked) return answer;
  return buttons.back().second;
}

std::optional<std::string> QtDialogs::InputBox(const platform::InputBoxRequest& request) {
  bool accepted = false;
  const QString answer = QInputDialog::getText(parent_, Text(request.title), Text(request.prompt), QLineEdit::Normal,
                                               Text(request.default_text), &accepted);
  if (!accepted) return std::nullopt;
  return answer.toStdString();
}

std::optional<int> QtDialogs::PopupMenu(const std::vector<platform::PopupMenuEntry>& entries) {
  QMenu menu(parent_);
  std::vector<QAction*> actions;
  for (const auto& entry : entries) {
    QAction* action = entry.text == "-" ? menu.addSeparator() : menu.addAction(Text(entry.text));
    action->setCheckable(entry.checked);
    action->setChecked(entry.checked);
    action->setEnabled(entry.enabled);
    actions.push_back(action);
  }
  QAction* chosen = menu.exec(QCursor::pos());
  for (std::size_t index = 0; index < actions.size(); ++index)
    if (actions[index] == chosen && !chosen->isSeparator()) return static_cast<int>(index);
  return std::nullopt;
}

std::optional<std::vector<std::string>> QtDialogs::FileDialog(const platform::FileDialogRequest& request) {
  const QString title = Text(request.title);
  const QString filter = ToolkitFileFilter(request.filter);
  QStringList chosen;
  switch (request.kind) {
    case platform::FileDialogKind::Open:
      if (request.multiple)
        chosen = QFileDialog::getOpenFileNames(parent_, title, Text(request.file_name), filter);
      else
        chosen << QFileDialog::getOpenFileName(parent_, title, Text(request.file_name), filter);
      break;
    case platform::FileDialogKind::Save:
      chosen << QFileDialog::getSaveFileName(parent_, title, Text(request.file_name), filter, nullptr,
                                             QFileDialog::DontConfirmOverwrite);
      break;
    case platform::FileDialogKind::Folder:
      chosen << QFileDialog::getExistingDirectory(parent_, title, Text(request.file_name));
      break;
  }
  chosen.removeAll(QString());
  if (chosen.isEmpty()) return std::nullopt;
  std::vector<std::string> paths;
  for (const QString& path : chosen) paths.push_back(path.toStdString());
  return paths;
}

std::optional<std::int32_t> QtDialogs::ChooseColour(const platform::ColourRequest& request) {
  const QColor initial(request.initial & 0xFF, request.initial >> 8 & 0xFF, request.initial >> 16 & 0xFF);
  const QColor chosen = QColorDialog::getColor(initial, parent_, Text(request.title));
  if (!chosen.isValid()) return std::nullopt;
  return chosen.red() | chosen.green() << 8 | chosen.blue() << 16;
}

// A list of the compressors and the setting of the one chosen; each compressor keeps the value
// given to it while the dialog is open.
bool QtDialogs::PrintPicture(const platform::PrintRequest& request) {
  QPrinter printer(QPrinter::HighResolution);
  printer.setDocName(Text(request.title));
  QPrintDialog dialog(&printer, parent_);
  if (dialog.exec() != QDialog::Accepted) return false;
  QPainter painter;
  if (!painter.begin(&printer)) return false;
  const QImage image = ToQImage(request.picture);
  const QRect page = painter.viewport();
  const QSize fitted = image.size().scaled(page.size(), Qt::KeepAspectRatio);
  painter.drawImage(QRect(page.topLeft(), fitted), image);
  return painter.end();
}

std::optional<platform::CompressionChoice> QtDialogs::CompressionOptions(
    const platform::CompressionOptionsRequest& request) {
  if (request.compressors.empty()) return std::nullopt;
  QDialog dialog(parent_);
  dialog.setWindowTitle(Translate("Video Compression"));
  auto* form = new QFormLayout(&dialog);
  auto* compressors = new QComboBox(&dialog);
  for (const auto& compressor : request.compressors) compressors->addItem(Text(compressor.name));
  auto* setting = new QSpinBox(&dialog);
  form->addRow(Translate("Compressor:"), compressors);
  form->addRow(Translate("Setting:"), setting);
  auto* buttons = new QDialogButtonBox(QDialogButtonBox::Ok | QDialogButtonBox::Cancel, &dialog);
  form->addRow(buttons);
  QObject::connect(buttons, &QDialogButtonBox::accepted, &dialog, &QDialog::accept);
  QObject::connect(buttons, &QDialogButtonBox::rejected, &dialog, &QDialog::reject);

  std::vector<int> values;
  bool showing = false;  // the range and value of another compressor are being put up
  for (const auto& compressor : request.compressors) values.push_back(compressor.default_value);
  const auto show = [&](int index) {
    const auto& compressor = request.compressors.at(static_cast<std::size_t>(index));
    const bool has_setting = compressor.setting != platform::CompressorSettingKind::None;
    auto* label = qobject_cast<QLabel*>(form->labelForField(setting));
    if (label)
      label->setText(compressor.setting == platform::CompressorSettingKind::BitRate ? Translate("Bit rate (kbit/s):")
                                                                                    : Translate("Quality:"));
    setting->setEnabled(has_setting);
    showing = true;
    setting->setRange(compressor.minimum, compressor.maximum);
    setting->setValue(values[static_cast<std::size_t>(index)]);
    showing = false;
  };
  QObject::connect(setting, &QSpinBox::valueChanged, &dialog, [&](int value) {
    const int index = compressors->currentIndex();
    if (!showing &&
        request.compressors.at(static_cast<std::size_t>(index)).setting != platform::CompressorSettingKind::None)
      values[static_cast<std::size_t>(index)] = value;
  });
  QObject::connect(compressors, &QComboBox::currentIndexChanged, &dialog, show);
  compressors->setCurrentIndex(request.selected);
  show(request.selected);
  if (dialog.exec() != QDialog::Accepted) return std::nullopt;
  const int chosen = compressors->currentIndex();
  return platform::CompressionChoice{chosen, values[static_cast<std::size_t>(chosen)]};
}

QString ToolkitFileFilter(const std::string& filter) {
  const QStringList parts = Text(filter).split('|');
  QStringList entries;
  for (qsizetype at = 0; at + 1 < parts.size(); at += 2) {
    if (parts[at].isEmpty() && parts[at + 1].isEmpty()) continue;
    QString patterns = parts[at + 1];
    patterns.replace(';', ' ');
    entries << Translate(parts[at].trimmed().toStdString()) + " (" + patterns.trimmed() + ")";
  }
  return entries.join(";;");
}

void QtClipboard::SetPicture(const platform::Picture& picture) {
  QGuiApplication::clipboard()->setImage(ToQImage(picture));
}

std::optional<platform::Picture> QtClipboard::GetPicture() const {
  const QImage image = QGuiApplication::clipboard()->image();
  if (image.isNull()) return std::nullopt;
  return FromQImage(image);
}

void QtClipboard::Clear() { QGuiApplication::clipboard()->clear(); }

}  // namespace zr::gui
