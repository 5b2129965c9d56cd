#pragma once
// The picture window: one still in the holder MasterImage, with a hidden copy ResetPicture as
// the restore point. Snapshots each get a window of their own; the still of "image" mode and
// the last picture of a series (MultiImage) have one each. Its tool bar opens, saves, prints and
// copies the picture, and its effects act on the picture itself, so that they add up until the
// "effects" button restores the still.

#include <cstdint>
#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/program.h"
#include "image/insertion_overlay.h"
#include "image/picture_effects.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

// An entry of the effects menu: an effect, a bit depth ("bd_8": 8), or the way back ("reset").
// The names of the two flips are crossed: "flip" mirrors left to right, "mirror" turns the
// picture by half a turn.
struct EffectsMenuEntry {
  std::string_view key;
  std::string_view caption;
  std::optional<Effect> effect;
  int bits = 0;
};
std::span<const EffectsMenuEntry> EffectsMenu();
const EffectsMenuEntry* FindEffectsMenuEntry(std::string_view key);

// The save dialog's filter: the formats the converter writes.
inline constexpr std::string_view kPictureSaveFilter =
    "JPEG Image File (*.jpg)|*.jpg|JPEG 2000 Image File (*.jp2)|*.jp2|Bitmap File (*.bmp)|*.bmp|GIF File "
    "(*.gif)|*.gif|DIB File (*.dib)|*.dib|TIF File (*.tif)|*.tif|PNG File (*.png)|*.png|PCX File (*.pcx)|*.pcx|TGA "
    "File (*.tga)|*.tga";

class Image : public ui::Window {
 public:
  static constexpr std::string_view kWindowName = "Image";
  static constexpr ui::WindowPlacement kPlacement = ui::WindowPlacement::InMainWindow;
  Image(Program& program, std::string name);

  ui::PictureBox MasterImage{*this, "MasterImage"};
  ui::PictureBox ResetPicture{*this, "ResetPicture"};
  ui::StatusBar MasterStatus{*this, "MasterStatus"};
  ui::Toolbar Mastertoolbar{*this, "Mastertoolbar"};

  // Takes `picture` as the holder's picture, with persistent drawing on.
  void ShowPicture(std::shared_ptr<const platform::Picture> picture);
  // The holder's picture becomes the restore point.
  void KeepResetPicture() { ResetPicture.Picture = MasterImage.Picture; }

  // Readies the holder for a frame's overlay: persistent drawing on, print position at 0, 0.
  void PrepareImageDrawing();
  // Prints the insertion file at `path` over the holder's picture, read anew for this frame,
  // with the program's clock and text renderer.
  void DrawInsertionFile(const std::string& path);

  // The effects, on the holder's picture. Each shows its progress through ProgressMessage and
  // ends with an empty message; a picture of ten columns or fewer raises DivisionByZeroError
  // and is left as it was. The flips, Rotate and Inverting let the loop run once first. The
  // pixels are worked on away from the logic thread; until the picture is back, what the
  // operator asks of the tool bar waits its turn, as it would behind a busy window.
  void Grayscaling() { RunEffect(Effect::Grayscaling); }
  void FlipHorizontal() { RunEffect(Effect::FlipHorizontal); }
  void FlipVertical() { RunEffect(Effect::FlipVertical); }
  void Rotate(std::int16_t angle) { RunEffect(Effect::Rotate, EffectInputs{angle, 0}); }
  void Inverting() { RunEffect(Effect::Inverting); }
  void Softening() { RunEffect(Effect::Softening); }
  void Lighting() { RunEffect(Effect::Lighting); }
  void Sharpening() { RunEffect(Effect::Sharpening); }
  void Solarizing() { RunEffect(Effect::Solarizing); }
  void Embossing() { RunEffect(Effect::Embossing); }
  void Diffusing();
  void ProgressMessage(const std::string& text) { MasterStatus.SimpleText = text; }

  // The tool bar's keys and the effects menu's.
  void Mastertoolbar_ButtonClick(ui::ToolbarButton& button);
  void Mastertoolbar_ButtonMenuClick(ui::ButtonMenu& entry);

 private:
  void RunEffect(Effect effect, const EffectInputs& inputs = {});
  // The effect's picture back from the background: it becomes the holder's, and what the
  // operator asked for meanwhile runs in order.
  void EffectDone(std::shared_ptr<const platform::Picture> result, const std::vector<std::string>& progress);
  void OpenPicture();
  void SavePicture();
  void PrintPicture();
  void CopyPicture();
  // The converter's picture at `bits` per pixel; the tag keeps the depth for the save.
  void ChangeBitDepth(int bits);

  Program& program_;
  // The holder's print settings, kept from one element and one frame to the next.
  ImageDrawing pen_;
  bool effect_running_ = false;
  std::deque<std::function<void()>> waiting_;
  // Last, so that it is the first to go: its end must not reach a window half destroyed.
  std::unique_ptr<platform::BackgroundJob> effect_;
};

// A picture file from the main window's open dialog, in a new picture window of its own;
// "Bad file format." when the file is no picture the window shows.
void OpenPictureInNewWindow(Program& program, const std::string& path);

}  // namespace zr
