#pragma once
// The desktop's own programs the main window hands work to (the sound mixer, the system
// information tool), found at run time, and the machine as the program's own system information
// window lists it. Each program is started without a shell and never waited for.

#include <functional>
#include <optional>
#include <string>
#include <vector>

#include "platform/services.h"

namespace zr::platform::linux_impl {

// A program and its arguments, the program first.
using CommandLine = std::vector<std::string>;

// Whether a program of that name can be started: found on the PATH.
using ProgramFinder = std::function<bool(const std::string& program)>;

// The mixer for `view`: pavucontrol (or its Qt twin) on its input or output devices' tab, else
// the mixer of the desktop named by `desktops` (XDG_CURRENT_DESKTOP, names separated by ':'),
// else alsamixer in a terminal; nothing when none can be started.
std::optional<CommandLine> ChooseVolumeControl(VolumeView view, const std::string& desktops,
                                               const ProgramFinder& found);

// The system information tool of the desktop named by `desktops`, else hardinfo; nothing when
// none can be started.
std::optional<CommandLine> ChooseSystemInformation(const std::string& desktops, const ProgramFinder& found);

// Whether `program` is an executable file in a folder of the PATH.
bool OnPath(const std::string& program);

// Starts the command in a process of its own and returns at once; false when it cannot be
// started. A thread of its own waits for the process, so none is left behind unreaped.
bool StartDetached(const CommandLine& command);

// The machine read from the system: uname, then /proc/cpuinfo, /proc/meminfo, the video4linux
// class of /sys and /proc/asound/cards under `root` (a test gives a folder of its own).
SystemDescription ReadSystemDescription(const std::string& root = "");

// The first page of the user guide: `guide/index.html` beside the executable in
// `executable_folder`, else where an installation under the folder's parent keeps it
// (`share/doc/video-zandrell/guide/index.html`); nothing where neither is a file.
std::optional<std::string> FindUserGuide(const std::string& executable_folder);

}  // namespace zr::platform::linux_impl
