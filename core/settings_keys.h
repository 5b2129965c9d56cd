#pragma once
// The per-user settings the program keeps: every key with its four-part address (application,
// section, key, default). Window, picture server and device settings live under the
// application title; the others under fixed short roots.
//
// Asymmetries users depend on are kept: "Compression" defaults to 100 at start but the
// Preferences dialog shows 90 until OK is pressed once; the run record ("Version" ...) is
// written at every start and never read; "Toolbar7" and "Toolbar8" are read and never written.

#include <string>

#include "base/formatting.h"
#include "platform/services.h"

namespace zr {

struct SettingKey {
  const char* application;
  const char* section;
  const char* key;
  const char* default_value;
};

namespace settings {

inline constexpr const char* kTitleRoot = "Video Zandrell";

// The record of the last start, under "ZANDRELL".
inline constexpr SettingKey RunVersion{"ZANDRELL", "Video Zandrell", "Version", ""};
inline constexpr SettingKey RunBuild{"ZANDRELL", "Video Zandrell", "Build", ""};
inline constexpr SettingKey RunPath{"ZANDRELL", "Video Zandrell", "Path", ""};
inline constexpr SettingKey RunDate{"ZANDRELL", "Video Zandrell", "Date", ""};
inline constexpr SettingKey RunTime{"ZANDRELL", "Video Zandrell", "Time", ""};

// The mirrors and preferences, under "ZR".
inline constexpr SettingKey PopupMovieViewer{"ZR", "ZR", "PUMV", ""};
inline constexpr SettingKey AutoPlay{"ZR", "ZR", "AP", ""};
inline constexpr SettingKey ShutterSound{"ZR", "ZR", "ES", "1"};
inline constexpr SettingKey JpegQualityAtStart{"ZR", "JPEG", "Compression", "100"};
inline constexpr SettingKey JpegQualityInDialog{"ZR", "JPEG", "Compression", "90"};
inline constexpr SettingKey MotionSensitivity{"ZR", "MD", "SENSE", "5"};
inline constexpr SettingKey OverwriteQuestion{"ZR", "MD", "OQ", "1"};
inline constexpr SettingKey HangUpAfterUpload{"ZR", "NET", "HANGUP", "1"};

// Whether a driver-kind capture yields to the program, under "ZZANDRELL".
inline constexpr SettingKey CaptureYields{"ZZANDRELL", "ADV", "YIELD", "1"};

// The main window; geometry in twips. The geometry defaults depend on the screen.
inline constexpr SettingKey WindowTop{kTitleRoot, "Window", "Top", ""};
inline constexpr SettingKey WindowLeft{kTitleRoot, "Window", "Left", ""};
inline constexpr SettingKey WindowHeight{kTitleRoot, "Window", "Height", ""};
inline constexpr SettingKey WindowWidth{kTitleRoot, "Window", "Width", ""};
inline constexpr SettingKey WindowState{kTitleRoot, "Window", "State", "0"};
// "Toolbar" + the index of the Toolbars menu entry.
SettingKey ToolbarShown(int index);

inline constexpr SettingKey WebSharePort{kTitleRoot, "WebShare", "Port", "80"};
inline constexpr SettingKey WebShareQuality{kTitleRoot, "WebShare", "Quality", ""};  // default: the slider

inline constexpr SettingKey LastDevice{kTitleRoot, "System", "LastDevice", ""};
inline constexpr SettingKey LastDeviceInput{kTitleRoot, "System", "LastDeviceInput", "0"};
inline constexpr SettingKey SerialPort{kTitleRoot, "System", "SerialPort", "1"};
inline constexpr SettingKey SoundLimit{kTitleRoot, "System", "SoundLimit", "80"};
inline constexpr SettingKey UseVideoRenderer{kTitleRoot, "System", "VMR", "Yes"};
// The joystick to read, by its name or its event device's path; empty for the first found.
inline constexpr SettingKey JoystickDevice{kTitleRoot, "Joystick", "Device", ""};
// The size the built-in test camera starts at, as its format list has it without blanks
// ("1920x1080"), or its own size: a run without windows has no format list to pick from.
inline constexpr SettingKey TestCameraSize{kTitleRoot, "Built-in Test Camera", "Size", ""};
// The frames a second it starts at, a whole number from 1 to 30, else 30.
inline constexpr SettingKey TestCameraRate{kTitleRoot, "Built-in Test Camera", "Rate", ""};

inline constexpr const char* kCoolBarSection = "Coolbar";

}  // namespace settings

// Reads a key; its own default unless `default_value` is given.
std::string ReadSetting(platform::SettingsStore& store, const SettingKey& key);
std::string ReadSetting(platform::SettingsStore& store, const SettingKey& key, const std::string& default_value);
// A stored number; a value that does not parse reads as 0.
double ReadSettingNumber(platform::SettingsStore& store, const SettingKey& key);
double ReadSettingNumber(platform::SettingsStore& store, const SettingKey& key, const std::string& default_value);
// A stored whole number, cut towards zero; a value that does not parse, or one beyond the
// range of `Integer`, reads as 0.
template <class Integer = int>
Integer ReadSettingInteger(platform::SettingsStore& store, const SettingKey& key) {
  return TruncatedOrZero<Integer>(ReadSettingNumber(store, key));
}
template <class Integer = int>
Integer ReadSettingInteger(platform::SettingsStore& store, const SettingKey& key, const std::string& default_value) {
  return TruncatedOrZero<Integer>(ReadSettingNumber(store, key, default_value));
}
void SaveSetting(platform::SettingsStore& store, const SettingKey& key, const std::string& value);

}  // namespace zr
