#include "gui/button_tips.h"

#include <string>

#include "gui/toolkit_language.h"

namespace zr::gui {

namespace {

struct Tip {
  std::string_view toolbar;  // empty: any tool bar
  std::string_view key;
  const char* text;
};

// A key's row for its own tool bar comes before the row for any tool bar.
constexpr Tip kTips[] = {
    {"MainToolbar", "open", "&Open Capture File..."},
    {"MainToolbar", "save", "&Save Capture File..."},
    {"MainToolbar", "viewer", "Movie Window"},
    {"MainToolbar", "srt", "SRT Editor"},
    {"MainToolbar", "preferences", "&Preferences"},
    {"MainToolbar", "scanner", "Acquire"},
    {"MainToolbar", "choose_scanner", "Select Source"},
    {"MainToolbar", "movie", "Movie Capture... (CTRL+M)"},
    {"MainToolbar", "image", "Image Capture... (CTRL+I)"},
    {"MainToolbar", "multiple", "Multiple Image Capture... (CTRL+U)"},
    {"MainToolbar", "avibuilder", "AVI Builder... (CTRL+A)"},
    {"MainToolbar", "webshare", "Webcam Broadcast... (CTRL+W)"},
    {"DeviceToolbar", "device", "Video Capture Device..."},
    {"DeviceToolbar", "source", "Video Source..."},
    {"DeviceToolbar", "format", "Video Format..."},
    {"DeviceToolbar", "display", "Video Display..."},
    {"DeviceToolbar", "wdmsettings", "Device Settings"},
    {"DeviceToolbar", "snapshot", "Capture Frame"},
    {"DeviceToolbar", "info", "Video Device Information..."},
    {"DeviceToolbar", "advanced", "VFW Advanced Settings"},
    {"DeviceToolbar", "histogram", "Histogram"},
    {"DeviceToolbar", "lens", "Field of View Calculator"},
    {"DeviceToolbar", "exportdv", "Export AVI to a DV device..."},
    {"DeviceToolbar", "screen", "Screen Capture"},
    {"DeviceToolbar", "preview", "Preview Mode"},
    {"OperationBar", "sound", "Audio Detector"},
    {"OperationBar", "rs232", "RS232 Control"},
    {"MovieToolbar", "compression", "Video Compression"},
    {"MovieToolbar", "audio", "Audio &On"},
    {"MovieToolbar", "tcr", "Time Code"},
    {"MultipleImageToolbar", "vidcompression", "Video Compression"},
    {"MultipleImageToolbar", "netset", "Internet Settings"},
    {"MultipleImageToolbar", "ftp", "File Upload"},
    {"MultipleImageToolbar", "effects", "Effects"},
    {"TriggerType", "joystick", "Joystick Trigger"},
    {"AviBuilderCursors", "add", "Add Files"},
    {"AviBuilderCursors", "delete", "Remove File"},
    {"AviBuilderCursors", "clear", "Remove All Files"},
    {"AviBuilderCursors", "up", "Move Up"},
    {"AviBuilderCursors", "down", "Move Down"},
    {"Mastertoolbar", "open", "Open..."},
    {"Mastertoolbar", "save", "Save Image As..."},
    {"Mastertoolbar", "print", "Print"},
    {"Mastertoolbar", "clipboard", "Put On Clipboard"},
    {"moviecontrol", "top", "Start"},
    {"moviecontrol", "irew", "Back 1 frame"},
    {"moviecontrol", "stop", "Stop"},
    {"moviecontrol", "play", "Play"},
    {"moviecontrol", "ifwd", "Forward 1 frame"},
    {"moviecontrol", "bottom", "End"},
    {"Mastertoolbar", "recompress", "Recompress"},
    {"Mastertoolbar", "extractimg", "Frame to Picture Window"},
    {"Mastertoolbar", "extractall", "Save Every Frame"},
    {"Mastertoolbar", "rew", "Rewind"},
    {"Mastertoolbar", "play", "Play"},
    {"Mastertoolbar", "pause", "Pause"},
    {"Mastertoolbar", "stop", "Stop"},
    {"Mastertoolbar", "fwd", "Fast forward"},
    {"TunerBar", "tuner_add", "Add Station"},
    {"TunerBar", "tuner_remove", "Remove Station"},
    {"TunerBar", "tuner_country", "Country"},
    {"TunerBar", "tuner_up", "Channel Up"},
    {"TunerBar", "tuner_down", "Channel Down"},
    {"TunerBar", "tuner_antena", "Antenna"},
    {"TunerBar", "tuner_cable", "Cable"},
    {"TunerBar", "tuner_station", "Stations"},
    {"", "about", "&About"},
    {"", "fullscreen", "Full Screen"},
    {"", "overlay", "Overlay Mode"},
    {"", "record", "Rec/Stop"},
    {"", "motion", "Motion Trigger"},
    {"", "autostart", "Autostart"},
    {"", "filename", "File Name..."},
    {"", "otherinfo", "Other Information"},
    {"", "writeinfo", "Write Other Information"},
    {"", "insert", "Image Insertion"},
};

}  // namespace

QString ButtonTip(std::string_view toolbar, std::string_view key) {
  for (const bool own : {true, false})
    for (const Tip& tip : kTips)
      if (tip.key == key && (own ? tip.toolbar == toolbar : tip.toolbar.empty()))
        return Translate(tip.text).remove('&');
  return {};
}

}  // namespace zr::gui
