// The capture window as a camcorder's tape deck: the transport bar over the picture and the
// tape's position and shooting date under it, read every 40 ms.

#include "capture/dv_deck_control.h"

#include <string_view>

#include "base/formatting.h"
#include "base/program_error.h"
#include "capture/video_screen.h"
#include "platform/dv_tape_deck.h"

namespace zr {

namespace {

// The transport bar's buttons, by key, with the command each sends.
struct TransportButton {
  std::string_view key;
  int command;
};
constexpr TransportButton kTransportButtons[] = {{"rew", platform::dv_transport::kRewind},
                                                 {"play", platform::dv_transport::kPlay},
                                                 {"pause", platform::dv_transport::kPause},
                                                 {"stop", platform::dv_transport::kStop},
                                                 {"fwd", platform::dv_transport::kFastForward}};

}  // namespace

std::string TapePositionText(std::uint32_t time_code) {
  constexpr char kDigits[] = "0123456789ABCDEF";
  std::string text;
  for (int shift = 28; shift >= 0; shift -= 4) {
    text += kDigits[(time_code >> shift) & 0xF];
    if (shift % 8 == 0 && shift > 0) text += ':';
  }
  return text;
}

std::string TapeDateText(const DateTime& shot) { return DateText(shot) + " " + TimeText(shot); }

void VideoScreen::AddTransportButtons() {
  for (const auto& button : kTransportButtons)
    Mastertoolbar.AddButton(std::string(button.key), ui::ButtonStyle::Default, std::string(button.key));
  Mastertoolbar.Visible = false;
  Mastertoolbar.OnButtonClick = [this](ui::ToolbarButton& button) { Mastertoolbar_ButtonClick(button); };
  DVStatus.OnTimer = [this] { DVStatus_Timer(); };
}

// The button gives no feedback of its own: the next reading of the deck shows what it did.
void VideoScreen::Mastertoolbar_ButtonClick(ui::ToolbarButton& button) {
  for (const auto& transport : kTransportButtons)
    if (transport.key == button.Key()) ResumeNext([&] { control_->DVCommand(transport.command); });
}

// A deck that stops answering (unplugged) leaves both fields as they were and the timer running.
void VideoScreen::DVStatus_Timer() {
  ResumeNext([&] {
    DVpos.Text = TapePositionText(control_->DVTimeCode());
    DVtaken.Text = TapeDateText(control_->DVRecordDate());
    if (control_->DVCommand(0) == platform::dv_transport::kStop) DVpos.Text = "";
  });
  program_.Yield();
}

}  // namespace zr
