#pragma once
// The desktop's dialogs and clipboard for the program: real message boxes, input boxes and
// file dialogs with the program's titles, buttons, icons and filters; the system clipboard.

#include <QPointer>
#include <QWidget>
#include <string>

#include "platform/services.h"

namespace zr::gui {

class QtDialogs final : public platform::Dialogs {
 public:
  // Dialogs open over the window the face says is in front.
  void SetParentWindow(QWidget* parent) { parent_ = parent; }
  platform::MessageAnswer MessageBox(const platform::MessageBoxRequest& request) override;
  std::optional<std::string> InputBox(const platform::InputBoxRequest& request) override;
  std::optional<std::vector<std::string>> FileDialog(const platform::FileDialogRequest& request) override;
  // Pops the menu up at the mouse pointer.
  std::optional<int> PopupMenu(const std::vector<platform::PopupMenuEntry>& entries) override;
  std::optional<platform::CompressionChoice> CompressionOptions(
      const platform::CompressionOptionsRequest& request) override;
  // The toolkit's print dialog (its printers, and printing to a PDF file); the picture is
  // scaled to the page, keeping its shape.
  bool PrintPicture(const platform::PrintRequest& request) override;
  std::optional<std::int32_t> ChooseColour(const platform::ColourRequest& request) override;

 private:
  // Guarded: the window in front may be a dialog that has closed and gone since.
  QPointer<QWidget> parent_;
};

class QtClipboard final : public platform::Clipboard {
 public:
  void SetPicture(const platform::Picture& picture) override;
  std::optional<platform::Picture> GetPicture() const override;
  void Clear() override;
};

// The program's filter ("Movie (*.avi)|*.avi|All|*.*|") in the toolkit's form
// ("Movie (*.avi) (*.avi);;All (*.*)"), the kinds' names in the operator's language.
QString ToolkitFileFilter(const std::string& filter);

}  // namespace zr::gui
