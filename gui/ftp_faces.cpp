// The FTP windows on the desktop. NetConfig: the five settings as a form, the password hidden as
// it is typed, the note under the folder, OK and Cancel. FTPImage: the file's name, a real
// progress bar that follows the model's bar, the status line and the abort button.

#include <QFormLayout>
#include <QHBoxLayout>
#include <QLineEdit>
#include <QProgressBar>
#include <QVBoxLayout>
#include <utility>

#include "gui/window_faces.h"
#include "gui/window_widgets.h"
#include "net/ftp_image.h"
#include "net/net_config.h"

namespace zr::gui {

namespace {

class NetConfigWindow final : public PlainWindow {
 public:
  NetConfigWindow(NetConfig& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace) {
    auto* layout = new QVBoxLayout(this);
    auto* form = new QFormLayout;
    form->addRow(Bound(model.AddressCaption), Bound(model.frmFTP_Address));
    form->addRow(Bound(model.PortCaption), Bound(model.frmFTP_Port));
    form->addRow(Bound(model.UsernameCaption), Bound(model.frmFTP_Username));
    QWidget* password = Bound(model.frmFTP_Password);
    if (auto* line = qobject_cast<QLineEdit*>(password)) line->setEchoMode(QLineEdit::Password);
    form->addRow(Bound(model.PasswordCaption), password);
    form->addRow(Bound(model.DirectoryCaption), Bound(model.frmFTP_Directory));
    layout->addLayout(form);
    layout->addWidget(Bound(model.DirectoryNote));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(Bound(model.OK));
    buttons->addWidget(Bound(model.Cancel));
    layout->addLayout(buttons);
    Refresh();
  }
};

class FtpImageWindow final : public PlainWindow {
 public:
  FtpImageWindow(FTPImage& model, const Guard& guard, std::function<void()> close_box)
      : PlainWindow(model, guard, std::move(close_box), Layout::ByTheFace), model_(model) {
    auto* layout = new QVBoxLayout(this);
    layout->addWidget(Bound(model_.Label1));
    layout->addWidget(Bound(model_.Remotefile));
    bar_ = new QProgressBar(this);
    bar_->setObjectName("ProgressBar");
    layout->addWidget(bar_);
    layout->addWidget(Bound(model_.Status));
    auto* buttons = new QHBoxLayout;
    buttons->addStretch();
    buttons->addWidget(Bound(model_.Command1));
    layout->addLayout(buttons);
    setMinimumWidth(360);
    Refresh();
  }

  void Refresh() {
    PlainWindow::Refresh();
    bar_->setRange(model_.ProgressBar.Min, model_.ProgressBar.Max);
    bar_->setValue(model_.ProgressBar.Value);
  }

 private:
  FTPImage& model_;
  QProgressBar* bar_ = nullptr;
};

const FaceRegistration kNetConfigFace{"NetConfig", [](ui::Window& window, const FaceParts& parts) {
                                        auto* face = new NetConfigWindow(dynamic_cast<NetConfig&>(window), parts.guard,
                                                                         parts.close_box);
                                        return ShownWindow{face, [face] { face->Refresh(); }};
                                      }};

const FaceRegistration kFtpImageFace{"FTPImage", [](ui::Window& window, const FaceParts& parts) {
                                       auto* face = new FtpImageWindow(dynamic_cast<FTPImage&>(window), parts.guard,
                                                                       parts.close_box);
                                       return ShownWindow{face, [face] { face->Refresh(); }};
                                     }};

}  // namespace

}  // namespace zr::gui
