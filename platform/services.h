#pragma once
// The platform services the logic asks for besides the devices: dialogs, clipboard, settings
// store, file system facts and the wall clock. Each has a simulation (platform/sim) and a real
// implementation. All calls arrive on the logic thread.

#include <cstdint>
#include <cstdio>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "base/date_time.h"
#include "platform/picture.h"

namespace zr::platform {

// ---- Dialogs

enum class MessageButtons { Ok = 0, OkCancel = 1, AbortRetryIgnore = 2, YesNoCancel = 3, YesNo = 4, RetryCancel = 5 };
enum class MessageIcon { None = 0, Stop = 16, Question = 32, Exclamation = 48, Information = 64 };
enum class MessageAnswer { Ok = 1, Cancel = 2, Abort = 3, Retry = 4, Ignore = 5, Yes = 6, No = 7 };

struct MessageBoxRequest {
  std::string text;
  std::string title;
  MessageButtons buttons = MessageButtons::Ok;
  MessageIcon icon = MessageIcon::None;
};

struct InputBoxRequest {
  std::string prompt;
  std::string title;
  std::string default_text;
};

enum class FileDialogKind { Open, Save, Folder };

struct FileDialogRequest {
  FileDialogKind kind = FileDialogKind::Open;
  std::string title;
  std::string filter;     // "Description (*.ext)|*.ext|..." pairs
  std::string file_name;  // the name proposed
  bool multiple = false;  // an open dialog that takes several files
};

// A menu that pops up where the operator clicked; "-" is a separator.
struct PopupMenuEntry {
  std::string text;
  bool checked = false;
  bool enabled = true;
};

// The compression options of a movie about to be written: the compressors to choose from, each
// with its setting at `default_value`, and the one chosen at first.
struct CompressionOptionsRequest {
  std::vector<VideoCompressor> compressors;
  int selected = 0;
};

// The compressor chosen (an index into the request's list) and its setting's value.
struct CompressionChoice {
  int compressor = 0;
  int value = 0;
};

// The colour dialog: its title and the colour it opens with, both packed (red low, blue high).
struct ColourRequest {
  std::string title;
  std::int32_t initial = 0;
};

// A picture to print, with the name the print job carries.
struct PrintRequest {
  std::string title;
  const Picture& picture;
};

class Dialogs {
 public:
  virtual ~Dialogs() = default;
  virtual MessageAnswer MessageBox(const MessageBoxRequest& request) = 0;
  // Nothing when the operator cancelled.
  virtual std::optional<std::string> InputBox(const InputBoxRequest& request) = 0;
  // The chosen paths; nothing when the operator cancelled.
  virtual std::optional<std::vector<std::string>> FileDialog(const FileDialogRequest& request) = 0;
  // The index of the chosen entry; nothing when the menu closed without a choice.
  virtual std::optional<int> PopupMenu(const std::vector<PopupMenuEntry>& entries) = 0;
  // Nothing when the operator cancelled.
  virtual std::optional<CompressionChoice> CompressionOptions(const CompressionOptionsRequest& request) = 0;
  // The print dialog, then the print of the picture on the page; false when the operator
  // cancelled or nothing could be printed.
  virtual bool PrintPicture(const PrintRequest& request) = 0;
  // The colour chosen, packed; nothing when the operator cancelled.
  virtual std::optional<std::int32_t> ChooseColour(const ColourRequest& request) = 0;
};

// ---- Clipboard

class Clipboard {
 public:
  virtual ~Clipboard() = default;
  virtual void SetPicture(const Picture& picture) = 0;
  virtual std::optional<Picture> GetPicture() const = 0;
  virtual void Clear() = 0;
};

// ---- Settings store: application, section, key; values are text.

class SettingsStore {
 public:
  virtual ~SettingsStore() = default;
  virtual std::string Get(const std::string& application, const std::string& section, const std::string& key,
                          const std::string& default_value) = 0;
  virtual void Save(const std::string& application, const std::string& section, const std::string& key,
                    const std::string& value) = 0;
};

// ---- File system facts

class FileSystem {
 public:
  virtual ~FileSystem() = default;
  // Free bytes of the file system that holds `path`; nothing when it cannot be told.
  virtual std::optional<std::uint64_t> FreeBytes(const std::string& path) = 0;
};

// ---- The desktop around the program

struct ScreenSize {
  int width = 0;   // pixels
  int height = 0;  // pixels
};

// How much of the machine the program asks for: on Linux the nice values 0, -5 and -10.
enum class ProcessPriority { Normal, High, RealTime };

// The volume control's two views: the levels of the inputs a recording takes, and the levels
// of what is played.
enum class VolumeView { Recording, Playback };

// How the child windows of the main window are laid out, by the arrange codes of its Window
// menu.
enum class ArrangeCode : int { Cascade = 0, TileHorizontally = 1, TileVertically = 2, ArrangeIcons = 3 };

// A library the program stands on, as the about window names it.
struct LibraryVersion {
  std::string name;
  std::string version;
  std::string licence;
};

// The machine, as the program's own system information window lists it.
struct SystemDescription {
  std::string kernel;     // the system's name, release and machine
  std::string processor;  // the model, and how many the system counts
  std::uint64_t memory_bytes = 0;
  std::vector<std::string> cameras;        // the video capture devices, each with its node
  std::vector<std::string> sound_devices;  // the sound cards, by number and name
};

// What the desktop face tells the desktop of itself: the screen its windows open on, how it
// arranges the main window's child windows, and the libraries of its toolkit. Without windows
// the screen is a default and there is nothing to arrange.
struct ToolkitFacts {
  ToolkitFacts(ScreenSize screen_size = {1920, 1080}) : screen(screen_size) {}  // NOLINT: implicit, from a screen alone
  ScreenSize screen;
  std::function<void(ArrangeCode)> arrange_children;
  std::vector<LibraryVersion> libraries;
};

class Desktop {
 public:
  virtual ~Desktop() = default;
  virtual ScreenSize Screen() const = 0;
  // Whether the desktop has a sound mixer the program can open for the recording and playback
  // volumes.
  virtual bool HasVolumeControl() const = 0;
  // Plays a sound file to its end before returning. A missing file, a file that is no sound,
  // or a machine without a sound device plays nothing, without a message.
  virtual void PlaySoundFile(const std::string& path) = 0;
  // Sets the process's priority, or the closest to it the system allows; false when the one
  // asked for was not allowed.
  virtual bool SetProcessPriority(ProcessPriority priority) = 0;
  // Opens the address in the desktop's browser, without waiting for it.
  virtual void OpenAddress(const std::string& address) = 0;
  // Starts the desktop's sound mixer in the view asked for, without waiting for it; false when
  // the desktop has none.
  virtual bool OpenVolumeControl(VolumeView view) = 0;
  // Starts the desktop's own system information tool, without waiting for it; false when the
  // desktop has none.
  virtual bool OpenSystemInformation() = 0;
  // The machine the program runs on.
  virtual SystemDescription DescribeSystem() const = 0;
  // The libraries the program stands on, with the versions they report.
  virtual std::vector<LibraryVersion> Libraries() const = 0;
  // The user guide's first page (an HTML file) where it is installed; nothing where it is not.
  virtual std::optional<std::string> UserGuide() const = 0;
  // Lays out the main window's child windows; nothing where there are no windows.
  virtual void ArrangeChildWindows(ArrangeCode code) = 0;
  // The decimal sign of the desktop's numbers; a point where no desktop says otherwise.
  virtual std::string DecimalSign() const { return "."; }
};

// ---- Wall clock

using zr::DateTime;

class WallClock {
 public:
  virtual ~WallClock() = default;
  virtual DateTime Now() const = 0;
  // The time of day of `time` as the desktop writes it; where no desktop says otherwise, hours,
  // minutes and seconds of two digits each, on a clock of 24 hours.
  virtual std::string TimeOfDayText(const DateTime& time) const {
    char text[16];
    std::snprintf(text, sizeof text, "%02d:%02d:%02d", time.hour, time.minute, time.second);
    return text;
  }
};

}  // namespace zr::platform
