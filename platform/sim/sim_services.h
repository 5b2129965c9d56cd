#pragma once
// Simulated platform services: dialogs answered from a queue and recorded, an in-memory
// clipboard and settings store, free space counted from the world's own files, and a wall
// clock that moves with the virtual time of the event loop.

#include <deque>
#include <map>
#include <optional>
#include <stdexcept>
#include <string>
#include <tuple>
#include <vector>

#include "platform/event_loop.h"
#include "platform/memory_clipboard.h"
#include "platform/services.h"

namespace zr::platform::sim {

// A dialog was shown that needs an answer and none was queued.
class UnansweredDialog : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

struct ShownDialog {
  enum class Kind { MessageBox, InputBox, Open, Save, Folder, CompressionOptions, Print, Colour, PopupMenu } kind;
  MessageBoxRequest message;
  InputBoxRequest input;
  FileDialogRequest file;
  std::vector<PopupMenuEntry> menu{};  // the entries of a pop-up menu
  bool checked = false;                // a scenario's expectation has matched it
};

class SimDialogs : public Dialogs {
 public:
  MessageAnswer MessageBox(const MessageBoxRequest& request) override;
  std::optional<std::string> InputBox(const InputBoxRequest& request) override;
  std::optional<std::vector<std::string>> FileDialog(const FileDialogRequest& request) override;
  // A pop-up menu closes without a choice: a scenario clicks the menu's entries themselves.
  // It is recorded as checked, with its entries.
  std::optional<int> PopupMenu(const std::vector<PopupMenuEntry>& entries) override;

  void QueueMessageAnswer(MessageAnswer answer) { message_answers_.push_back(answer); }
  // Nothing queues a cancel.
  void QueueInputAnswer(std::optional<std::string> answer) { input_answers_.push_back(std::move(answer)); }
  void QueueFileAnswer(FileDialogKind kind, std::optional<std::vector<std::string>> answer);
  void QueueOptionsAnswer(bool accept) { options_answers_.push_back(accept); }

  // The compression options dialog (the compressor of a movie about to be written): the
  // oldest queued answer, true to accept; with none queued it is accepted as it stands. No
  // expectation checks it, so it is recorded as checked.
  bool CompressionOptions();
  // The same dialog offering a list: accepted, it keeps the choice it was shown with.
  std::optional<CompressionChoice> CompressionOptions(const CompressionOptionsRequest& request) override;

  // The print dialog prints at once, as the operator's OK would: the picture is kept. No
  // expectation checks the dialog, so it is recorded as checked.
  bool PrintPicture(const PrintRequest& request) override;
  const std::vector<Picture>& Printed() const { return printed_; }

  // The colour dialog: the oldest queued answer (nothing cancels); with none queued it is
  // accepted with the colour it opened with. No expectation checks it, so it is recorded as
  // checked.
  std::optional<std::int32_t> ChooseColour(const ColourRequest& request) override;
  void QueueColourAnswer(std::optional<std::int32_t> answer) { colour_answers_.push_back(answer); }

  std::vector<ShownDialog>& Shown() { return shown_; }
  // Called as each dialog is shown (the runner's --verbose).
  std::function<void(const ShownDialog&)> on_shown;

 private:
  void Record(ShownDialog dialog);

  std::vector<ShownDialog> shown_;
  std::deque<MessageAnswer> message_answers_;
  std::deque<std::optional<std::string>> input_answers_;
  std::map<FileDialogKind, std::deque<std::optional<std::vector<std::string>>>> file_answers_;
  std::deque<bool> options_answers_;
  std::deque<std::optional<std::int32_t>> colour_answers_;
  std::vector<Picture> printed_;
};

using SimClipboard = MemoryClipboard;

class SimSettingsStore : public SettingsStore {
 public:
  std::string Get(const std::string& application, const std::string& section, const std::string& key,
                  const std::string& default_value) override;
  void Save(const std::string& application, const std::string& section, const std::string& key,
            const std::string& value) override;
  std::optional<std::string> Find(const std::string& application, const std::string& section,
                                  const std::string& key) const;

 private:
  std::map<std::tuple<std::string, std::string, std::string>, std::string> values_;
};

// Free space of a disk of `capacity_bytes` that holds only the files under `root`.
class SimFileSystem : public FileSystem {
 public:
  SimFileSystem(std::string root, std::uint64_t capacity_bytes)
      : root_(std::move(root)), capacity_bytes_(capacity_bytes) {}
  std::optional<std::uint64_t> FreeBytes(const std::string& path) override;
  void SetCapacity(std::uint64_t capacity_bytes) { capacity_bytes_ = capacity_bytes; }

 private:
  std::string root_;
  std::uint64_t capacity_bytes_;
};

// A desktop of a fixed size with a volume control and a system information tool. What the
// program asks it to open or arrange is logged, one line a request, in the device log's form
// (`OpenAddress(https://...)`, `OpenVolumeControl(recording)`, `ArrangeChildWindows(1)`),
// whether the desktop has the tool or not.
class SimDesktop : public Desktop {
 public:
  ScreenSize Screen() const override { return screen; }
  bool HasVolumeControl() const override { return volume_control; }
  void PlaySoundFile(const std::string& path) override { played_sounds.push_back(path); }
  bool SetProcessPriority(ProcessPriority asked) override {
    priority = asked;
    return true;
  }
  void OpenAddress(const std::string& address) override { log.push_back("OpenAddress(" + address + ")"); }
  bool OpenVolumeControl(VolumeView view) override {
    log.push_back(std::string("OpenVolumeControl(") + (view == VolumeView::Recording ? "recording" : "playback") + ")");
    return volume_control;
  }
  bool OpenSystemInformation() override {
    log.push_back("OpenSystemInformation()");
    return system_information;
  }
  SystemDescription DescribeSystem() const override { return system; }
  std::vector<LibraryVersion> Libraries() const override { return libraries; }
  // `guide/index.html` in `guide_folder`, where a file stands there.
  std::optional<std::string> UserGuide() const override;
  void ArrangeChildWindows(ArrangeCode code) override {
    log.push_back("ArrangeChildWindows(" + std::to_string(static_cast<int>(code)) + ")");
  }

  ScreenSize screen{1920, 1080};
  ProcessPriority priority = ProcessPriority::Normal;
  bool volume_control = true;
  bool system_information = true;
  SystemDescription system{"Linux 6.1.0 x86_64", "Simulated processor (2 x)", 4ull << 30, {}, {}};
  std::vector<LibraryVersion> libraries;
  std::string guide_folder;  // with its trailing separator
  // The sound files asked for, in order, whether they exist or not.
  std::vector<std::string> played_sounds;
  std::vector<std::string> log;
};

// The wall clock: a set date and time plus the virtual time that has passed since it was set.
class SimWallClock : public WallClock {
 public:
  explicit SimWallClock(const EventLoop& loop) : loop_(loop) {}
  DateTime Now() const override;
  void Set(const DateTime& now);

 private:
  const EventLoop& loop_;
  DateTime base_{};
  std::int64_t base_loop_ms_ = 0;
};

// Days and seconds arithmetic on the proleptic Gregorian calendar.
DateTime AddSeconds(const DateTime& start, std::int64_t seconds);

}  // namespace zr::platform::sim
