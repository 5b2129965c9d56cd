#include "image/windows/image_window.h"

#include <array>
#include <filesystem>
#include <map>
#include <string>
#include <utility>

#include "base/formatting.h"
#include "base/program_error.h"
#include "core/window_registry.h"
#include "image/picture_writer.h"

namespace zr {

namespace {

constexpr std::array kEffectsMenu{
    EffectsMenuEntry{"flip", "Flip", Effect::FlipVertical},
    EffectsMenuEntry{"mirror", "Mirror", Effect::FlipHorizontal},
    EffectsMenuEntry{"negative", "Negative", Effect::Inverting},
    EffectsMenuEntry{"greyscale", "Greyscale", Effect::Grayscaling},
    EffectsMenuEntry{"soften", "Soften", Effect::Softening},
    EffectsMenuEntry{"lighting", "Lighting", Effect::Lighting},
    EffectsMenuEntry{"sharpen", "Sharpen", Effect::Sharpening},
    EffectsMenuEntry{"solarize", "Solarize", Effect::Solarizing},
    EffectsMenuEntry{"diffuse", "Diffuse", Effect::Diffusing},
    EffectsMenuEntry{"emboss", "Emboss", Effect::Embossing},
    EffectsMenuEntry{"reset", "Reset", std::nullopt},
    EffectsMenuEntry{"bd_1", "1 bit", std::nullopt, 1},
    EffectsMenuEntry{"bd_8", "8 bit", std::nullopt, 8},
    EffectsMenuEntry{"bd_24", "24 bit", std::nullopt, 24},
    EffectsMenuEntry{"bd_32", "32 bit", std::nullopt, 32},
};

// The tool bar and the status bar round the picture when the window fits itself to it.
constexpr int kToolbarHeight = 30;
constexpr int kStatusHeight = 22;

bool LetsTheLoopRunFirst(Effect effect) {
  return effect == Effect::FlipHorizontal || effect == Effect::FlipVertical || effect == Effect::Rotate ||
         effect == Effect::Inverting;
}

}  // namespace

std::span<const EffectsMenuEntry> EffectsMenu() { return kEffectsMenu; }

const EffectsMenuEntry* FindEffectsMenuEntry(std::string_view key) {
  for (const auto& entry : kEffectsMenu)
    if (entry.key == key) return &entry;
  return nullptr;
}

Image::Image(Program& program, std::string name)
    : ui::Window(program.services.loop, std::move(name)), program_(program) {
  ResetPicture.Visible = false;
  for (const char* key : {"open", "save", "print", "clipboard"})
    Mastertoolbar.AddButton(key, ui::ButtonStyle::Default, key);
  auto& effects = Mastertoolbar.AddButton("effects", ui::ButtonStyle::Dropdown, "effects");
  effects.ToolTipText = program_.Translate("Effects");
  for (const auto& entry : kEffectsMenu)
    effects.AddMenu(std::string(entry.key), program_.Translate(std::string(entry.caption)));
  Mastertoolbar.OnButtonClick = [this](ui::ToolbarButton& button) { Mastertoolbar_ButtonClick(button); };
  Mastertoolbar.OnButtonMenuClick = [this](ui::ToolbarButton&, ui::ButtonMenu& entry) {
    Mastertoolbar_ButtonMenuClick(entry);
  };
}

void Image::Mastertoolbar_ButtonClick(ui::ToolbarButton& button) {
  if (effect_running_) return waiting_.push_back([this, &button] { Mastertoolbar_ButtonClick(button); });
  const std::string& key = button.Key();
  if (key == "open")
    OpenPicture();
  else if (key == "save")
    SavePicture();
  else if (key == "print")
    PrintPicture();
  else if (key == "clipboard")
    CopyPicture();
  else if (key == "effects")
    MasterImage.Picture = ResetPicture.Picture;
}

// A picture too narrow for the effects' progress stops them with the division's error, which
// the operator is told of; the picture stays as it was.
void Image::Mastertoolbar_ButtonMenuClick(ui::ButtonMenu& entry) {
  if (effect_running_) return waiting_.push_back([this, &entry] { Mastertoolbar_ButtonMenuClick(entry); });
  const EffectsMenuEntry* chosen = FindEffectsMenuEntry(entry.key);
  if (!chosen) return;
  if (chosen->bits != 0) {
    ChangeBitDepth(chosen->bits);
  } else if (!chosen->effect) {
    MasterImage.Picture = ResetPicture.Picture;
  } else if (*chosen->effect == Effect::Diffusing) {
    Diffusing();
  } else {
    try {
      RunEffect(*chosen->effect);
    } catch (const DivisionByZeroError& error) {
      program_.MessageBox(error.what(), platform::MessageButtons::Ok, platform::MessageIcon::Stop);
    }
  }
}

// The generator is seeded from the clock: the time of day and the loop's milliseconds, so a
// scenario's virtual clock repeats the same specks.
void Image::Diffusing() {
  const DateTime now = program_.services.clock.Now();
  const auto seconds = static_cast<std::uint32_t>(now.hour * 3600 + now.minute * 60 + now.second);
  const auto seed = seconds * 1000u + static_cast<std::uint32_t>(program_.services.loop.NowMs() % 1000);
  try {
    RunEffect(Effect::Diffusing, EffectInputs{0, seed});
  } catch (const DivisionByZeroError& error) {
    program_.MessageBox(error.what(), platform::MessageButtons::Ok, platform::MessageIcon::Stop);
  }
}

// Every effect reads the holder's picture and writes a picture of its size that starts black;
// the result becomes the holder's picture. The progress texts come in order when it is back,
// the last an empty one.
void Image::RunEffect(Effect effect, const EffectInputs& inputs) {
  if (effect_running_) return waiting_.push_back([this, effect, inputs] { RunEffect(effect, inputs); });
  const auto source = MasterImage.Picture;
  if (!source) return;
  if (LetsTheLoopRunFirst(effect)) program_.Yield();
  const std::vector<std::string> progress = EffectProgress(effect, source->width);
  auto result = std::make_shared<platform::Picture>();
  effect_running_ = true;
  // The hourglass says that the effect is under way; its texts come with the picture.
  MousePointer = kHourglass;
  effect_ = program_.services.background.Start(
      [result, source, effect, inputs] { *result = ApplyEffect(effect, *source, inputs); },
      [this, result, progress] { EffectDone(result, progress); });
}

void Image::EffectDone(std::shared_ptr<const platform::Picture> result, const std::vector<std::string>& progress) {
  for (const std::string& text : progress) ProgressMessage(text);
  MasterImage.Picture = std::move(result);
  ProgressMessage("");
  MousePointer = 0;
  effect_running_ = false;
  while (!effect_running_ && !waiting_.empty()) {
    auto next = std::move(waiting_.front());
    waiting_.pop_front();
    next();
  }
}

void Image::OpenPicture() {
  const auto chosen = program_.services.dialogs.FileDialog(platform::FileDialogRequest{
      platform::FileDialogKind::Open, program_.Translate("Open..."), std::string(kPictureOpenFilter), "", false});
  if (!chosen || chosen->empty()) return;
  MasterImage.Picture = nullptr;
  MasterImage.AutoRedraw = false;
  auto picture = LoadPictureFile(chosen->front());
  if (!picture) {
    program_.MessageBox(program_.Translate("Bad file format."));
    return;
  }
  ShowPicture(std::move(picture));
  program_.Yield();
  Caption = std::filesystem::path(chosen->front()).filename().string();
  if (const auto& shown = MasterImage.Picture) {
    Width = shown->width;
    Height = shown->height + kToolbarHeight + kStatusHeight;
  }
}

// The tag's bit depth, when one was chosen, and the format of the name's extension.
void Image::SavePicture() {
  const auto picture = MasterImage.Picture;
  const auto chosen = program_.services.dialogs.FileDialog(
      platform::FileDialogRequest{platform::FileDialogKind::Save, program_.Translate("Save Image As..."),
                                  std::string(kPictureSaveFilter), Caption, false});
  if (!chosen || chosen->empty() || !picture) return;
  const std::string tag = MasterImage.Tag;
  const std::optional<int> bits = tag.empty() ? std::nullopt : std::optional<int>(static_cast<int>(NumericPrefix(tag)));
  if (auto saved = program_.services.image_converter.Save(*picture, chosen->front(), bits); !saved)
    program_.MessageBox(chosen->front() + ": " + saved.error().message, platform::MessageButtons::Ok,
                        platform::MessageIcon::Exclamation);
}

void Image::PrintPicture() {
  if (const auto picture = MasterImage.Picture)
    program_.services.dialogs.PrintPicture(platform::PrintRequest{Caption, *picture});
}

void Image::CopyPicture() {
  auto& clipboard = program_.services.clipboard;
  clipboard.Clear();
  if (const auto picture = MasterImage.Picture) clipboard.SetPicture(*picture);
  ProgressMessage("Image on Clipboard.");
}

void Image::ChangeBitDepth(int bits) {
  const auto picture = MasterImage.Picture;
  if (!picture) return;
  auto converted = program_.services.image_converter.ChangeBitDepth(*picture, bits);
  if (!converted) throw FileError(converted.error().message);
  MasterImage.Picture = std::make_shared<const platform::Picture>(std::move(*converted));
  MasterImage.Tag = std::to_string(bits);
}

void OpenPictureInNewWindow(Program& program, const std::string& path) {
  auto picture = LoadPictureFile(path);
  if (!picture) {
    program.MessageBox(program.Translate("Bad file format."));
    return;
  }
  auto& window = dynamic_cast<Image&>(program.SlotOf<Image>().NewInstance());
  window.ShowPicture(std::move(picture));
  window.KeepResetPicture();
  window.Caption = std::filesystem::path(path).filename().string();
  window.Show();
}

void Image::ShowPicture(std::shared_ptr<const platform::Picture> picture) {
  MasterImage.Picture = std::move(picture);
  MasterImage.AutoRedraw = true;
}

void Image::PrepareImageDrawing() {
  MasterImage.AutoRedraw = true;
  zr::PrepareImageDrawing(pen_);
}

// The pen draws on its own copy, which then becomes the holder's picture; the picture the
// holder had may still be shared with the restore point or the clipboard.
void Image::DrawInsertionFile(const std::string& path) {
  MasterImage.AutoRedraw = true;
  if (!MasterImage.Picture || path.empty()) {
    zr::PrepareImageDrawing(pen_);
    return;
  }
  pen_.picture = *MasterImage.Picture;
  zr::DrawInsertionFile(pen_, path, program_.services.clock, program_.InsertionRenderer());
  MasterImage.Picture = std::make_shared<const platform::Picture>(std::move(pen_.picture));
  pen_.picture = {};
}

namespace {

// What the main window calls on the picture window of a still or of a series, as it draws a
// frame's overlay.
using Registration = WindowRegistration<Image>;
std::map<std::string, Registration::Procedure> OverlayProcedures() {
  return {
      {"Grayscaling", Registration::Calls(&Image::Grayscaling)},
      {"FlipHorizontal", Registration::Calls(&Image::FlipHorizontal)},
      {"FlipVertical", Registration::Calls(&Image::FlipVertical)},
      {"Rotate",
       [](Image& w, const ProcedureArguments& a) {
         a.Expect(1);
         w.Rotate(RoundHalfEven16(a.Number(0)));
       }},
      {"Inverting", Registration::Calls(&Image::Inverting)},
      {"Softening", Registration::Calls(&Image::Softening)},
      {"Lighting", Registration::Calls(&Image::Lighting)},
      {"Sharpening", Registration::Calls(&Image::Sharpening)},
      {"Solarizing", Registration::Calls(&Image::Solarizing)},
      {"Embossing", Registration::Calls(&Image::Embossing)},
      {"Diffusing", Registration::Calls(&Image::Diffusing)},
      {"ProgressMessage",
       [](Image& w, const ProcedureArguments& a) {
         a.Expect(1);
         w.ProgressMessage(a.Text(0));
       }},
      {"PrepareImageDrawing", Registration::Calls(&Image::PrepareImageDrawing)},
      {"DrawInsertionFile",
       [](Image& w, const ProcedureArguments& a) {
         a.Expect(1);
         w.DrawInsertionFile(a.Text(0));
       }},
  };
}

// The still of "image" mode, with the snapshots as its extra instances; and the last picture of
// a series.
const Registration kImage(OverlayProcedures(), "Image");
const Registration kMultiImage(OverlayProcedures(), "MultiImage");

}  // namespace

}  // namespace zr
