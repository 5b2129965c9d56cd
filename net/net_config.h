#pragma once
// "Internet Settings": the five settings of the FTP upload. OK keeps the boxes in the state
// record (the parameter file carries them to disk); Cancel leaves the state as it was.

#include <string_view>

#include "core/program.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class NetConfig : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "NetConfig";
  explicit NetConfig(Program& program);

  ui::Label AddressCaption{*this, "AddressCaption"};
  ui::TextBox frmFTP_Address{*this, "frmFTP_Address"};
  ui::Label PortCaption{*this, "PortCaption"};
  ui::TextBox frmFTP_Port{*this, "frmFTP_Port"};
  ui::Label UsernameCaption{*this, "UsernameCaption"};
  ui::TextBox frmFTP_Username{*this, "frmFTP_Username"};
  ui::Label PasswordCaption{*this, "PasswordCaption"};
  ui::TextBox frmFTP_Password{*this, "frmFTP_Password"};
  ui::Label DirectoryCaption{*this, "DirectoryCaption"};
  ui::TextBox frmFTP_Directory{*this, "frmFTP_Directory"};
  ui::Label DirectoryNote{*this, "DirectoryNote"};
  ui::CommandButton OK{*this, "OK"};
  ui::CommandButton Cancel{*this, "Cancel"};

  void Load() override;

 private:
  void OK_Click();
  Program& program_;
};

}  // namespace zr
