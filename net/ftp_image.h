#pragma once
// The upload of one stored still to the FTP server: a small modal window that starts the work
// by itself once shown, reports progress through a status text and a percentage its timer
// shows, and closes itself when done. There is no queue and no retry; every failure ends as
// text in the status and the sequence runs on to the disconnect.

#include <cstdint>
#include <memory>
#include <string>
#include <string_view>

#include "core/program.h"
#include "platform/ftp.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

// What the one upload under way keeps beyond its window: the abort button and the upload share
// it, and the upload outlives a window the operator closed.
struct FtpUploadState {
  std::unique_ptr<platform::FtpConnection> connection;  // none before the connect and after the close
  platform::FtpTransferType transfer_type = platform::FtpTransferType::Ascii;
  std::string status;        // the last status, shown by the window's timer
  std::int16_t percent = 0;  // progress in per cent
  // The dial-up entry hung up after an upload. Nothing sets it, so only a link without a name
  // is ever hung up.
  std::string hang_up_entry;
};

class FTPImage : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "FTPImage";
  explicit FTPImage(Program& program);

  // Set by the caller before the window shows: the file to send and the name it gets there.
  std::string LocalFile;
  std::string RemoteFile;

  ui::Label Remotefile{*this, "Remotefile"};
  ui::Label Label1{*this, "Label1"};
  ui::Label Status{*this, "Status"};
  ui::CommandButton Command1{*this, "Command1"};
  ui::PictureBox Animation1{*this, "Animation1"};
  ui::RangeControl ProgressBar{*this, "ProgressBar"};
  ui::Timer StatusTimer{*this, "StatusTimer", 500, true};

  void Load() override;
  // The whole upload, run when the window becomes active; it ends by unloading the window.
  void Form_Activate();

 private:
  void StatusTimer_Timer();
  void Command1_Click();

  Program& program_;
  std::shared_ptr<FtpUploadState> upload_ = std::make_shared<FtpUploadState>();
};

// Shows FTPImage modally for `local_file`, to be stored as `remote_file` unless the path names
// a file in a folder; returns when the window has closed. A ProgramError while another upload
// shows its window.
void ShowUpload(Program& program, const std::string& local_file, const std::string& remote_file);

}  // namespace zr
