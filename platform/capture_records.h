#pragma once
// The capture records the driver kind reads and writes in place, with their published field
// names and 32-bit layouts (sizes checked below), and the status words the driver's status
// callback stores from its own thread.

#include <atomic>
#include <cstdint>

namespace zr {

using DWORD = std::uint32_t;
using UINT = std::uint32_t;
using BOOL = std::int32_t;
using HANDLE32 = std::uint32_t;  // a handle field, kept at its 32-bit size

struct CAPSTATUS {
  UINT uiImageWidth = 0;
  UINT uiImageHeight = 0;
  BOOL fLiveWindow = 0;
  BOOL fOverlayWindow = 0;
  BOOL fScale = 0;
  std::int32_t ptScrollX = 0;  // ptScroll
  std::int32_t ptScrollY = 0;
  BOOL fUsingDefaultPalette = 0;
  BOOL fAudioHardware = 0;
  BOOL fCapFileExists = 0;
  DWORD dwCurrentVideoFrame = 0;
  DWORD dwCurrentVideoFramesDropped = 0;
  DWORD dwCurrentWaveSamples = 0;
  DWORD dwCurrentTimeElapsedMS = 0;
  HANDLE32 hPalCurrent = 0;
  BOOL fCapturingNow = 0;
  DWORD dwReturn = 0;
  UINT wNumVideoAllocated = 0;
  UINT wNumAudioAllocated = 0;
};
static_assert(sizeof(CAPSTATUS) == 76);

struct CAPDRIVERCAPS {
  UINT wDeviceIndex = 0;
  BOOL fHasOverlay = 0;
  BOOL fHasDlgVideoSource = 0;
  BOOL fHasDlgVideoFormat = 0;
  BOOL fHasDlgVideoDisplay = 0;
  BOOL fCaptureInitialized = 0;
  BOOL fDriverSuppliesPalettes = 0;
  HANDLE32 hVideoIn = 0;
  HANDLE32 hVideoOut = 0;
  HANDLE32 hVideoExtIn = 0;
  HANDLE32 hVideoExtOut = 0;
};
static_assert(sizeof(CAPDRIVERCAPS) == 44);

struct CAPTUREPARMS {
  DWORD dwRequestMicroSecPerFrame = 0;
  BOOL fMakeUserHitOKToCapture = 0;
  UINT wPercentDropForError = 0;
  BOOL fYield = 0;
  DWORD dwIndexSize = 0;
  UINT wChunkGranularity = 0;
  BOOL fUsingDOSMemory = 0;
  UINT wNumVideoRequested = 0;
  BOOL fCaptureAudio = 0;
  UINT wNumAudioRequested = 0;
  UINT vKeyAbort = 0;
  BOOL fAbortLeftMouse = 0;
  BOOL fAbortRightMouse = 0;
  BOOL fLimitEnabled = 0;
  UINT wTimeLimit = 0;
  BOOL fMCIControl = 0;
  BOOL fStepMCIDevice = 0;
  DWORD dwMCIStartTime = 0;
  DWORD dwMCIStopTime = 0;
  BOOL fStepCaptureAt2x = 0;
  UINT wStepCaptureAverageFrames = 0;
  DWORD dwAudioBufferSize = 0;
  BOOL fDisableWriteCache = 0;
  UINT AVStreamMaster = 0;
};
static_assert(sizeof(CAPTUREPARMS) == 96);

#pragma pack(push, 1)
struct WAVEFORMATEX {            // passed to the driver as a record of 22 bytes
  std::uint16_t wFormatTag = 1;  // PCM
  std::uint16_t nChannels = 1;
  std::uint32_t nSamplesPerSec = 11025;
  std::uint32_t nAvgBytesPerSec = 11025;
  std::uint16_t nBlockAlign = 1;
  std::uint16_t wBitsPerSample = 8;
  std::uint16_t cbSize = 0;
  std::uint8_t reserved[4] = {};  // the record's tail up to 22 bytes
};
#pragma pack(pop)
static_assert(sizeof(WAVEFORMATEX) == 22);
constexpr int kWaveFormatBytes = 22;

// The status id at which the driver reports the end of a capture.
constexpr std::int16_t kCaptureEndStatusId = 301;
// The status id at which the driver reports the beginning of a capture.
constexpr std::int16_t kCaptureBeginStatusId = 300;

// What the driver's status callback leaves for the main thread: word-sized stores, no lock.
// The callback may run on the capture thread of a real driver; the main timer reads them.
struct CaptureStatusWords {
  std::atomic<std::int16_t> CaptureStatusId{0};
  std::atomic<const char*> CaptureStatusText{nullptr};
  std::atomic<std::int16_t> StatusFlag{0};
  std::atomic<std::int16_t> CaptureEnded{0};  // the program's Boolean: -1 true, 0 false
};

}  // namespace zr
