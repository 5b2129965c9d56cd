#pragma once
// The operations of the driver kind: thin calls on the capture window. "result" is -1 when
// the driver did it and 0 otherwise; a failed dialog shows its own message, stop icon, with
// the application title. Also the two frame-rate conversions of the capture engine.

#include <cstdint>
#include <memory>
#include <string>

#include "platform/capture_backends.h"

namespace zr {

class Program;

namespace vfw {

using platform::VfwCaptureWindow;

// The status callback given to the driver: stores the id and the text for the main thread,
// and notes the end of a capture at id 301. Nothing else happens on the capture thread.
void CaptureStatusCallback(void* status_words, std::int16_t id, const char* text);

std::string capGetDriverName(platform::VfwDriverSystem& drivers, int index);
std::string capGetDriverVersion(platform::VfwDriverSystem& drivers, int index);
int capGetDriverCount(platform::VfwDriverSystem& drivers);
std::unique_ptr<VfwCaptureWindow> capCreateWindow(platform::VfwDriverSystem& drivers);

int capConnect(VfwCaptureWindow& window, int index);
int capDestroy(std::unique_ptr<VfwCaptureWindow>& window);
int capGetCaps(VfwCaptureWindow& window, CAPDRIVERCAPS& caps);
int capGetStatus(VfwCaptureWindow& window, CAPSTATUS& status);
int capSetStatusCallback(VfwCaptureWindow& window, bool install, void* status_words);
int capGetSetup(VfwCaptureWindow& window, CAPTUREPARMS& parms);
int capSetSetup(VfwCaptureWindow& window, const CAPTUREPARMS& parms);
int capGetAudioFormatSize(VfwCaptureWindow& window);
int capSetAudioFormat(VfwCaptureWindow& window, const WAVEFORMATEX& format, int size);
int capGetAudioFormat(VfwCaptureWindow& window, WAVEFORMATEX& format, int size);
void capShowFormatDialog(Program& program, VfwCaptureWindow& window);
void capShowSourceDialog(Program& program, VfwCaptureWindow& window);
void capShowDisplayDialog(Program& program, VfwCaptureWindow& window);
void capShowCompressionDialog(Program& program, VfwCaptureWindow& window);
int capPreview(Program& program, VfwCaptureWindow& window, int frames_per_second);
int capOverlay(VfwCaptureWindow& window);
int capSetScale(VfwCaptureWindow& window, bool scale);
int capResize(VfwCaptureWindow& window, int x, int y, int width, int height);
int capSetCaptureFile(VfwCaptureWindow& window, const std::string& path);
std::string capGetCaptureFile(VfwCaptureWindow& window);
// `saved` is the frame the file holds, so that it need not be read back.
int capSaveDib(VfwCaptureWindow& window, const std::string& path, std::shared_ptr<const platform::Picture>& saved);
int capCopyFrame(VfwCaptureWindow& window);
int capStartSequence(VfwCaptureWindow& window);
int capStop(VfwCaptureWindow& window);
int capOpenSingleFrame(VfwCaptureWindow& window);
int capCloseSingleFrame(VfwCaptureWindow& window);
int capSingleFrame(VfwCaptureWindow& window);

// The preview period for a rate: rounded 1000 / rate milliseconds, 0 for a rate of 0 or less.
int PreviewPeriodMs(int frames_per_second);

}  // namespace vfw

// Frames per second to microseconds per frame: rounded 1000000 / rate, 0 for a rate of 0.
std::uint32_t MicroSecondsPerFrame(double frames_per_second);
// Microseconds per frame to frames per second: rounded 1000000 / microseconds, 0 for 0.
std::int32_t FramesPerSecondFromMicroSeconds(std::uint32_t microseconds);

}  // namespace zr
