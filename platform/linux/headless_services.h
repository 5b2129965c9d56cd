#pragma once
// The platform services of the program without windows: the wall clock of the machine, the
// free space of the real file systems, and dialogs told on the terminal and answered as the
// operator who started the run from the command line would. Its clipboard is the program's own
// (platform/memory_clipboard.h).
//
// Threads: all calls arrive on the logic thread.

#include <iosfwd>
#include <optional>
#include <string>
#include <vector>

#include "platform/memory_clipboard.h"
#include "platform/services.h"

namespace zr::platform::linux_impl {

class LocalWallClock final : public WallClock {
 public:
  DateTime Now() const override;  // the local time of the machine
  // In the form of the desktop's locale (LC_TIME), such as "3:04:05 PM" in the United States.
  std::string TimeOfDayText(const DateTime& time) const override;
};

// Free space by statvfs of the nearest existing folder on the way to the path.
class StatvfsFileSystem final : public FileSystem {
 public:
  std::optional<std::uint64_t> FreeBytes(const std::string& path) override;
};

// A message goes to the terminal with its title and is answered with the box's first button
// (OK, Yes, Abort, Retry): whoever started a headless run asked for what it does, so a question
// such as replacing the file named on the command line is answered as going ahead. An input box
// keeps its proposed text, a colour dialog its colour; a file dialog is cancelled; the
// compression options are taken as they are offered, and the compressor is told.
class TerminalDialogs final : public Dialogs {
 public:
  explicit TerminalDialogs(std::ostream& out) : out_(out) {}
  MessageAnswer MessageBox(const MessageBoxRequest& request) override;
  std::optional<std::string> InputBox(const InputBoxRequest& request) override;
  std::optional<std::vector<std::string>> FileDialog(const FileDialogRequest& request) override;
  // Without a window there is no place to pop a menu up: it closes without a choice.
  std::optional<int> PopupMenu(const std::vector<PopupMenuEntry>&) override { return std::nullopt; }
  std::optional<CompressionChoice> CompressionOptions(const CompressionOptionsRequest& request) override;
  // Without a window there is no print dialog: nothing is printed, and the terminal says so.
  bool PrintPicture(const PrintRequest& request) override;
  std::optional<std::int32_t> ChooseColour(const ColourRequest& request) override { return request.initial; }

 private:
  std::ostream& out_;
};

}  // namespace zr::platform::linux_impl
