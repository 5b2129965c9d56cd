#pragma once
// The driver kind on real sources: a capture window over a frame source with the capture
// records' meaning. Preview runs from connect to disconnect; a sequence capture records on the
// recorder's threads at dwRequestMicroSecPerFrame, ends by wTimeLimit when fLimitEnabled, takes
// sound when fCaptureAudio, and is aborted by a mouse press (fAbortLeftMouse, fAbortRightMouse)
// or a press of the abort key (vKeyAbort, Escape as the driver sets it up). The status callback is called with 300 at
// the beginning (on the logic thread) and 301 at the end (on the recorder's writer thread); with fYield 0 StartSequence
// blocks the logic thread until the run has ended.

#include <memory>

#include "platform/capture_backends.h"
#include "platform/linux/capture_devices.h"

namespace zr::platform::linux_impl {

std::unique_ptr<VfwCaptureWindow> MakeCaptureWindow(RealCaptureDevices& devices);

}  // namespace zr::platform::linux_impl
