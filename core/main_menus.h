#pragma once
// The entries of the main window's menus by their place in the menu; separators have no name.
// The places are the indexes of the menus' control arrays, and the captions are laid out in
// the same order (main_window/master.cpp).

namespace zr {

namespace file_menu {
enum Entry : int {
  kMovieCapture = 0,
  kImageCapture = 1,
  kMultipleImageCapture = 2,
  kAviBuilder = 3,
  kWebcamBroadcast = 4,
  kMediaBroadcast = 5,
  kOpenCaptureFile = 7,
  kSaveCaptureFile = 8,
  kPreferences = 10,
  kSystemInformation = 11,
  kExit = 13,
};
}  // namespace file_menu

namespace edit_menu {
enum Entry : int { kCaptureFrame = 0, kOtherInformation = 2, kPutOnClipboard = 4 };
}  // namespace edit_menu

namespace view_menu {
enum Entry : int { kOverlayMode = 0, kPreviewMode = 1, kFullScreen = 3 };
}  // namespace view_menu

namespace video_menu {
enum Entry : int {
  kVideoSource = 0,
  kVideoFormat = 1,
  kVideoDisplay = 2,
  kVideoCompression = 4,
  kVideoCodecs = 5,
  kWhatCodec = 6,
  kAdvancedSettings = 8,
  kVideoCaptureDevice = 10,
  kVideoEngine = 12,
  kSetImageOverlay = 14,
  kClearImageOverlay = 15,
};
}  // namespace video_menu

namespace audio_menu {
enum Entry : int {
  kAudioOff = 0,
  kAudioOn = 1,
  kMono = 3,
  kStereo = 4,
  k8Bits = 6,
  k16Bits = 7,
  kSampleRate = 9,
  kRecordingSettings = 11,
  kSoundVolume = 13,
  kPreviewAudio = 15,
};
}  // namespace audio_menu

// The Toolbars menu: entry i below kTuner governs the cool bar's band i + 1.
namespace toolbars_menu {
enum Entry : int {
  kDeviceToolbars = 0,
  kCapture = 1,
  kMovieCapture = 2,
  kImage = 3,
  kMultipleImageCapture = 4,
  kAviBuilder = 5,
  kWebShare = 6,
  kStatusDisplay = 7,
  kTvTuner = 8,
};
}  // namespace toolbars_menu

// The Window menu's entries; each arranges the child windows by its code
// (platform::ArrangeCode).
namespace window_menu {
enum Entry : int { kTileHorizontally = 0, kTileVertically = 1, kCascade = 2, kArrangeIcons = 3 };
}  // namespace window_menu

namespace help_menu {
enum Entry : int { kHelp = 0, kSplashWindow = 2, kCheckForUpgrades = 3, kHomePage = 4, kAbout = 6 };
}  // namespace help_menu

namespace scanner_menu {
enum Entry : int { kSelectSource = 0, kAcquire = 2 };
}  // namespace scanner_menu

namespace priority_menu {
enum Entry : int { kRealTime = 0, kHigh = 1, kNormal = 2 };
}  // namespace priority_menu

}  // namespace zr
