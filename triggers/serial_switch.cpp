#include "triggers/serial_switch.h"

#include <cmath>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/main_window.h"
#include "core/settings_keys.h"
#include "core/window_registry.h"

namespace zr {

namespace {

constexpr int kCtsLabel = 4;
constexpr int kDsrLabel = 5;
constexpr ui::Colour kOnColour = ui::Rgb(200, 0, 0);
constexpr ui::Colour kOffColour = ui::Rgb(0, 200, 0);

std::string WithoutCom(std::string name) {
  for (auto at = name.find("COM"); at != std::string::npos; at = name.find("COM", at)) name.erase(at, 3);
  return name;
}

// The entry the stored port number picks: the port of that number in the list, else the first.
int EntryOfPortNumber(double number, int count) {
  const bool whole = number == std::floor(number);
  return whole && number >= 1 && number <= count ? static_cast<int>(number) - 1 : 0;
}

}  // namespace

std::string EnumerateSerialPorts(Program& program, bool strip) {
  std::string joined;
  for (const std::string& name : program.services.serial_ports.Enumerate()) {
    if (!joined.empty()) joined += ",";
    joined += strip ? WithoutCom(name) : name;
  }
  return joined;
}

RS232::RS232(Program& program) : ui::Window(program.services.loop, std::string(kWindowName)), program_(program) {
  for (int index = 0; index <= kDsrLabel; ++index) Labels.Add(*this, "Labels", index);
  RS232Status.AddPanel("status");
  ComPortList.OnClick = [this] { OpenChosenPort(); };
  ScanTimer.OnTimer = [this] { ScanTimer_Timer(); };
}

void RS232::Load() {
  Caption = program_.Translate("RS232 Control");
  Labels(0).Caption = program_.Translate(
      "This trigger mode enables you to start/stop capture using a switch connected to a Serial Port");
  Labels(1).Caption = program_.Translate("Serial Port (COMx:):");
  Labels(2).Caption = program_.Translate("Start/Stop capture (CTS):");
  Labels(3).Caption = program_.Translate("Shutter (DSR):");
  const double stored = ReadSettingNumber(program_.services.settings, settings::SerialPort);
  const std::string ports = EnumerateSerialPorts(program_, false);
  for (const std::string_view name : SplitAtCommas(ports)) ComPortList.AddItem(std::string(name));
  ComPortList.ListIndex = EntryOfPortNumber(stored, ComPortList.ListCount());
}

void RS232::Unload() {
  ScanTimer.Enabled = false;
  port_.reset();
}

void RS232::Form_Activate() {
  if (activated_) return;
  activated_ = true;
  OpenChosenPort();
}

// The port is closed, the chosen one opened, and DTR raised once it is open: the switch needs
// that voltage to loop back. A port that cannot be opened says why in the status bar.
void RS232::OpenChosenPort() {
  port_.reset();
  program_.Yield();
  const std::string name = ComPortList.Text();
  auto opened = name.empty() ? Result<std::unique_ptr<platform::SerialLine>>(
                                   Error{program_.Translate("There is no serial port to open"), "CommPort", 0})
                             : program_.services.serial_ports.Open(name);
  if (opened) port_ = std::move(*opened);
  program_.Yield();
  if (!opened) {
    RS232Status.Panels(1).Text = opened.error().message;
    return;
  }
  RS232Status.Panels(1).Text = program_.Translate("Ready");
  (void)port_->RaiseDtr();
}

// Both lines are read every tick; a line that cannot be read reads as off. DSR is acted on
// before CTS when both changed, and each deed's failure ends that deed only.
void RS232::ScanTimer_Timer() {
  platform::ModemLines lines;
  if (port_) {
    if (auto read = port_->ReadLines()) lines = *read;
  }
  if (lines.dsr != OldDSR) {
    ResumeNext([&] { program_.MainWindow().RecordNow(); });
    OldDSR = lines.dsr;
  }
  if (lines.cts != OldCTS) {
    ResumeNext([&] { program_.MainWindow().ShootImage(); });
    OldCTS = lines.cts;
  }
  ShowLineState(kCtsLabel, lines.cts);
  ShowLineState(kDsrLabel, lines.dsr);
}

void RS232::ShowLineState(int label, bool on) {
  Labels(label).Caption = on ? "ON" : "OFF";
  Labels(label).ForeColor = on ? kOnColour : kOffColour;
}

namespace {
const WindowRegistration<RS232> kRegistration{{
    {"Form_Activate", WindowRegistration<RS232>::Calls(&RS232::Form_Activate)},
}};
}  // namespace

}  // namespace zr
