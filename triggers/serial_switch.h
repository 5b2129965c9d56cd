#pragma once
// The serial switch trigger: a switch wired to a serial port runs the capture. The window opens
// the chosen port with DTR raised, so the switch loops that voltage back to CTS or DSR, and
// looks at both lines every 100 ms while it exists. Each change acts, opening and closing
// alike: DSR does what the operation bar's "record" does, CTS shoots a picture. (The labels
// name the lines the other way round; the wiring is the one the operator's switches have.)

#include <memory>
#include <string>
#include <string_view>

#include "core/program.h"
#include "platform/serial_ports.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class RS232 : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "RS232";
  explicit RS232(Program& program);

  ui::ListControl ComPortList{*this, "ComPortList"};
  ui::Timer ScanTimer{*this, "ScanTimer", 100, true};
  ui::StatusBar RS232Status{*this, "RS232Status"};
  ui::ControlArray<ui::Label> Labels;

  void Load() override;
  void Unload() override;
  // The first activation opens the chosen port; later ones do nothing.
  void Form_Activate();

 private:
  void OpenChosenPort();
  void ScanTimer_Timer();
  void ShowLineState(int label, bool on);

  Program& program_;
  std::unique_ptr<platform::SerialLine> port_;  // none while closed
  bool OldCTS = false;
  bool OldDSR = false;
  bool activated_ = false;
};

// The names of the machine's serial ports joined by commas; `strip` removes the letters "COM"
// from each name.
std::string EnumerateSerialPorts(Program& program, bool strip);

}  // namespace zr
