#pragma once
// The TV tuner's panel of the main window: the tuner toolbar (stations, seek, antenna or
// cable, country) and the channel scroll bar with its label. Its band shows only for a device
// with a tuner. The tuning itself is the capture control's; the panel keeps the stations, which
// live in the program folder's TVTuner.ini between runs.
//
// Every handler passes over the control's errors statement by statement: a device without a
// tuner leaves the panel as it was.

#include <functional>
#include <string>

#include "core/program.h"
#include "platform/capture_backends.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class TunerPanel {
 private:
  ui::Window& window_;

 public:
  // `control` is the capture window's control, reached at each use.
  using ControlAccess = std::function<platform::VideoCaptureControl&()>;
  TunerPanel(ui::Window& window, Program& program, ControlAccess control);

  ui::PictureBox TVTunerPicture{window_, "TVTunerPicture"};
  ui::Toolbar TunerBar{window_, "TunerBar"};
  ui::RangeControl TunerSlider{window_, "TunerSlider"};
  // Steps a seek one channel a tick; its Tag holds the step, "1" or "-1".
  ui::Timer Tuner{window_, "Tuner", 100, false};

  // A device just connected: the band shows for a tuner, with the tuner's channels and its
  // input on the antenna and cable buttons, and hides for any other device.
  void ShowForDevice(platform::VideoCaptureControl& control);

  // The stations of TVTuner.ini in `folder` become the entries of "tuner_station".
  void ReadStations(const std::string& folder);
  // The entries of "tuner_station" replace TVTuner.ini in `folder`.
  void WriteStations(const std::string& folder);

  void TunerSlider_Change();
  void TunerBar_ButtonClick(ui::ToolbarButton& button);
  void TunerBar_ButtonMenuClick(ui::ButtonMenu& entry);
  void Tuner_Timer();

 private:
  void StartSeek(const char* step);
  void AskCountry();
  void AddStation();
  void RemoveStation();
  // The bar takes `channel` when it lies in its range (and tunes); otherwise a ProgramError.
  void MoveBarTo(double channel);
  void ShowInput(int input);
  void FollowChannelRange(platform::VideoCaptureControl& control);
  // Stops the seek at a signal; a tuner still settling leaves the reading to the next tick.
  void ReadSeekSignal();

  Program& program_;
  ControlAccess control_;
  bool signal_pending_ = false;  // the seek's last channel was still settling when asked
};

}  // namespace zr
