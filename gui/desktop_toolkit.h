#pragma once
// The toolkit's side of the desktop program, behind a header free of the toolkit: its
// application object, event loop, dialogs and clipboard, and the run of the program's windows.

#include <memory>

#include "core/program.h"
#include "gui/live_video.h"
#include "platform/descriptor_watcher.h"
#include "platform/device_settings.h"
#include "platform/event_loop.h"
#include "platform/services.h"

namespace zr::gui {

class DesktopToolkit {
 public:
  // The toolkit on the desktop's display; nothing when there is no display to open windows on.
  static std::unique_ptr<DesktopToolkit> Open(int& argc, char** argv);
  virtual ~DesktopToolkit() = default;

  virtual platform::EventLoop& Loop() = 0;
  // The same loop's watch of descriptors (the picture server's sockets).
  virtual platform::DescriptorWatcher& Descriptors() = 0;
  virtual platform::Dialogs& Dialogs() = 0;
  virtual platform::Clipboard& Clipboard() = 0;
  // The capture devices' own dialogs (format, source, compressor).
  virtual platform::DeviceDialogHost& DeviceDialogs() = 0;
  // The size of the screen the windows open on.
  virtual platform::ScreenSize Screen() const = 0;
  // The screen, the arrangement of the main window's child windows (while the program's
  // windows run) and the toolkit's own library, for the desktop service.
  virtual platform::ToolkitFacts Facts() = 0;

  // Starts the program (its entry, with the device chooser) and shows its windows until the
  // main window is gone. Returns the process's exit status.
  virtual int Run(Program& program, LiveVideo live) = 0;

  // A request from outside to end the program, from an event of the loop: once no handler of
  // the program is under way (no modal window or message box is open; the device chooser of
  // the start is cancelled), the main window's EndOnRequest ends what runs and closes the
  // program.
  virtual void EndProgram() = 0;
};

}  // namespace zr::gui
