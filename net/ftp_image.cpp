#include "net/ftp_image.h"

#include <algorithm>
#include <optional>
#include <utility>
#include <vector>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/main_window.h"
#include "core/settings_keys.h"
#include "core/window_registry.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

using platform::FtpDone;
using platform::FtpOutcome;

constexpr std::size_t kBlockBytes = 100;
constexpr const char* kAnimationFile = "zr2kua.iva";

std::string TrimmedBlanks(const std::string& text) {
  const auto first = text.find_first_not_of(' ');
  if (first == std::string::npos) return "";
  return text.substr(first, text.find_last_not_of(' ') - first + 1);
}

// The name behind the path's last separator, looked for from the last but one character down
// to the first; without one the name stays as the caller gave it.
std::string RemoteName(const std::string& local_file, const std::string& remote_file) {
  for (std::size_t position = local_file.size() >= 2 ? local_file.size() - 1 : 0; position >= 1; --position)
    if (local_file[position - 1] == '/') return local_file.substr(position);
  return remote_file;
}

void CloseConnection(const Program& program, FtpUploadState& upload) {
  upload.status = program.Translate("FTP Connection Closed.");
  if (upload.connection) upload.connection->Close();
  upload.connection.reset();
}

// One upload from its start to the window's unload. The window is reached through the program
// at each step, as the operator may have closed it meanwhile.
class Upload {
 public:
  Upload(Program& program, std::shared_ptr<FtpUploadState> state, std::uint64_t window_serial)
      : program_(program), state_(std::move(state)), window_serial_(window_serial) {}

  void Run(const std::string& local_file, const std::string& remote_file) {
    const std::string remote = RemoteName(local_file, remote_file);
    if (FTPImage* window = Window()) {
      window->RemoteFile = remote;
      window->Remotefile.Caption = program_.Translate("Uploading ") + remote;
    }
    program_.MainWindow().StatusString.Caption = program_.Translate("Uploading Image...");
    Pass();
    state_->transfer_type = platform::FtpTransferType::Ascii;
    Connect();
    const std::string folder = program_.state.FtpFolder;
    if (!folder.empty()) {
      const bool changed = Perform([&](FtpDone done) { state_->connection->ChangeDirectory(folder, std::move(done)); });
      if (FTPImage* window = Window())
        window->Status.Caption =
            changed ? program_.Translate("Directory changed") : program_.Translate("Can't change directory.");
    }
    Transfer(local_file, remote);
    program_.MainWindow().StatusString.Caption = program_.Translate("Disconnecting...");
    CloseConnection(program_, *state_);
    if (ReadSettingNumber(program_.services.settings, settings::HangUpAfterUpload) == 1) HangUp();
    program_.MainWindow().StatusString.Caption = "";
    UnloadWindow();
  }

  void UnloadWindow() {
    if (Window()) program_.SlotOf<FTPImage>().Unload();
  }

 private:
  FTPImage* Window() {
    FTPImage* window = program_.IfLoaded<FTPImage>();
    return window && window->Serial() == window_serial_ ? window : nullptr;
  }

  void Pass() { program_.services.loop.Yield(); }

  // Starts an operation on the connection and runs the loop until it reports, so the window
  // repaints and its abort button works meanwhile; without a connection it fails at once. A
  // failure leaves its text in `last_failure_`.
  template <class Start>
  bool Perform(Start&& start) {
    if (!state_->connection) return Failed(FtpOutcome{false, program_.Translate("Not connected to the FTP server")});
    auto outcome = std::make_shared<std::optional<FtpOutcome>>();
    start([outcome](const FtpOutcome& reported) { *outcome = reported; });
    program_.services.loop.RunModal([&] { return outcome->has_value(); });
    return (*outcome)->done || Failed(**outcome);
  }
  bool Failed(FtpOutcome outcome) {
    last_failure_ = std::move(outcome.text);
    return false;
  }

  void ReportError() { state_->status = program_.Translate("Error:") + last_failure_; }

  void Connect() {
    state_->status = program_.Translate("Connecting...");
    Pass();
    if (state_->connection) state_->connection->Close();
    state_->connection = program_.services.ftp.NewConnection();
    const auto& settings = program_.state;
    const platform::FtpLogin login{settings.FtpHost, settings.FtpPort, settings.FtpUser, settings.FtpPassword};
    if (Perform([&](FtpDone done) { state_->connection->Connect(login, std::move(done)); })) {
      state_->status = program_.Translate("Connected");
      Pass();
      return;
    }
    state_->connection.reset();
    state_->status = program_.Translate("Cannot connect to FTP Server");
    Pass();
    ReportError();
  }

  void Transfer(const std::string& local_file, const std::string& remote) {
    state_->transfer_type = platform::FtpTransferType::Binary;
    const auto type = state_->transfer_type;
    if (!Perform([&](FtpDone done) { state_->connection->OpenFile(remote, type, std::move(done)); }))
      return ReportError();
    const platform::RegularFile file(local_file);
    if (!file.IsOpen()) return;
    const std::uint64_t total = file.Size();
    std::uint64_t sent = 0;
    for (std::uint64_t block = 0; block < total / kBlockBytes; ++block) {
      if (!Send(file, sent, kBlockBytes)) return ReportError();
      Pass();
      sent += kBlockBytes;
      state_->percent = ToInt16(static_cast<std::int64_t>(sent * 100 / total));
      state_->status = program_.Translate("Transfering: ") + LeadingBlank(static_cast<double>(sent)) +
                       program_.Translate(" bytes  of") + LeadingBlank(static_cast<double>(total)) +
                       program_.Translate(" bytes");
    }
    const std::size_t tail = total % kBlockBytes;
    if (!Send(file, sent, tail)) return ReportError();
    sent += tail;
    state_->status = LeadingBlank(static_cast<double>(sent));
    // The server's word on the whole file is awaited, so the disconnect cannot cut the file
    // short; like any close of a handle it is not reported.
    Perform([&](FtpDone done) { state_->connection->CloseFile(std::move(done)); });
    state_->status = program_.Translate("File Transfered.");
  }

  // A block of the file from `offset`; what the file no longer holds goes as zeros.
  bool Send(const platform::RegularFile& file, std::uint64_t offset, std::size_t length) {
    std::vector<std::uint8_t> block(length, 0);
    file.ReadUpTo(offset, block);
    return Perform([&](FtpDone done) { state_->connection->Write(std::move(block), std::move(done)); });
  }

  void HangUp() {
    auto& links = program_.services.ftp.Links();
    const auto active = links.Active();
    if (!active) return;
    const std::string wanted = TrimmedBlanks(state_->hang_up_entry);
    for (const std::string& name : *active)
      if (TrimmedBlanks(name) == wanted) links.HangUp(name);
  }

  Program& program_;
  std::shared_ptr<FtpUploadState> state_;
  std::uint64_t window_serial_;
  std::string last_failure_;
};

}  // namespace

FTPImage::FTPImage(Program& program) : ui::Window(program.services.loop, "FTPImage"), program_(program) {
  StatusTimer.OnTimer = [this] { StatusTimer_Timer(); };
  Command1.OnClick = [this] { Command1_Click(); };
}

void FTPImage::Load() {
  ResumeNext([&] {
    Caption = program_.Translate("File Upload");
    Remotefile.Caption = program_.Translate("Transfering: ");
    Label1.Caption = program_.Translate("File Upload");
    Status.Caption = program_.Translate("Connecting...");
    Command1.Caption = program_.Translate("Abort");
    ProgressBar.Min = 1;
    ProgressBar.Value = 1;
    ProgressBar.Max = 100;
  });
  ResumeNext([&] { Animation1.Visible = platform::RegularFile(program_.ProgramFolder + kAnimationFile).IsOpen(); });
}

void FTPImage::Form_Activate() {
  Upload upload(program_, upload_, Serial());
  try {
    upload.Run(LocalFile, RemoteFile);
  } catch (const ProgramError&) {
    upload.UnloadWindow();
  }
}

// The bar shows only what lies strictly inside its range: a finished upload's 100 never shows.
void FTPImage::StatusTimer_Timer() {
  Status.Caption = upload_->status;
  if (upload_->percent > ProgressBar.Min && upload_->percent < ProgressBar.Max) ProgressBar.Value = upload_->percent;
}

// The upload under way is not told: its next step finds the connection gone.
void FTPImage::Command1_Click() {
  CloseConnection(program_, *upload_);
  program_.SlotOf<FTPImage>().Unload();
}

// One upload at a time. A still stored while another uploads (a series' timer runs on in the
// upload's loop) is not sent: the window shown modally cannot be shown again, and the shot's
// procedure passes over the error.
void ShowUpload(Program& program, const std::string& local_file, const std::string& remote_file) {
  if (const FTPImage* shown = program.IfLoaded<FTPImage>(); shown && shown->Visible)
    throw ProgramError("Form already displayed; can't show modally");
  auto& window = program.Window<FTPImage>();
  window.LocalFile = local_file;
  window.RemoteFile = remote_file;
  program.services.loop.Post([&program, serial = window.Serial()] {
    FTPImage* shown = program.IfLoaded<FTPImage>();
    if (shown && shown->Serial() == serial) shown->Form_Activate();
  });
  program.SlotOf<FTPImage>().ShowModal(program.services.loop);
}

namespace {

const WindowRegistration<FTPImage> kRegistration;

}  // namespace

}  // namespace zr
