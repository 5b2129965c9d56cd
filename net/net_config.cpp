#include "net/net_config.h"

#include "base/formatting.h"
#include "core/window_registry.h"

namespace zr {

NetConfig::NetConfig(Program& program) : ui::Window(program.services.loop, "NetConfig"), program_(program) {
  OK.OnClick = [this] { OK_Click(); };
  Cancel.OnClick = [this] { program_.SlotOf<NetConfig>().Unload(); };
}

void NetConfig::Load() {
  Caption = program_.Translate("Internet Settings");
  AddressCaption.Caption = program_.Translate("Server Address:");
  PortCaption.Caption = program_.Translate("Port:");
  UsernameCaption.Caption = program_.Translate("Username:");
  PasswordCaption.Caption = program_.Translate("Password:");
  DirectoryCaption.Caption = program_.Translate("Directory:");
  DirectoryNote.Caption = program_.Translate("(Leave blank if you want to save in root directory)");
  OK.Caption = program_.Translate("OK");
  Cancel.Caption = program_.Translate("Cancel");
  const auto& state = program_.state;
  frmFTP_Address.Text = state.FtpHost;
  frmFTP_Port.Text = FormatNumber(state.FtpPort, "#");
  frmFTP_Username.Text = state.FtpUser;
  frmFTP_Password.Text = state.FtpPassword;
  frmFTP_Directory.Text = state.FtpFolder;
}

// The port goes through its number: a box that holds no number stores 0, and one beyond a
// 16-bit integer fails as an overflow before anything is stored.
void NetConfig::OK_Click() {
  auto& state = program_.state;
  const std::int16_t port = RoundHalfEven16(NumericPrefix(frmFTP_Port.Text.get()));
  state.FtpHost = frmFTP_Address.Text;
  state.FtpPort = port;
  state.FtpUser = frmFTP_Username.Text;
  state.FtpPassword = frmFTP_Password.Text;
  state.FtpFolder = frmFTP_Directory.Text;
  program_.SlotOf<NetConfig>().Unload();
}

namespace {

const WindowRegistration<NetConfig> kRegistration;

}  // namespace

}  // namespace zr
