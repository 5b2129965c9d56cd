#pragma once
// The capture window: the one window through which the program reaches a capture device.
// Its tag holds the device kind ("vfw", "wdm", "wms", "http") and every public method
// branches on it. Connection lives in capture/video_screen.cpp, runs and stills in
// capture/recording_engine.cpp.

#include <memory>
#include <string>
#include <string_view>

#include "capture/device_kind.h"
#include "capture/motion_surface.h"
#include "core/program.h"
#include "platform/capture_backends.h"
#include "ui/controls.h"
#include "ui/window.h"

namespace zr {

class VideoScreen : public ui::Window, public MotionSurface, private platform::CaptureControlEvents {
 public:
  static constexpr std::string_view kWindowName = "VideoScreen";
  static constexpr ui::WindowPlacement kPlacement = ui::WindowPlacement::InMainFromLoad;
  explicit VideoScreen(Program& program);
  ~VideoScreen() override;

  ui::Frame wdmX{*this, "wdmX"};
  ui::Timer WDMStatus{*this, "WDMStatus", 100, false};
  ui::Timer DVStatus{*this, "DVStatus", 40, false};
  ui::PictureBox StreamPic{*this, "StreamPic"};
  ui::PictureBox MotionPicture{*this, "MotionPicture"};
  ui::PictureBox mira{*this, "mira"};
  // A camcorder's tape: when the scene under the head was shot, and the time code there.
  ui::TextBox DVtaken{*this, "DVtaken"};
  ui::TextBox DVpos{*this, "DVpos"};
  ui::StatusBar StatusBar{*this, "StatusBar"};
  ui::Toolbar Mastertoolbar{*this, "Mastertoolbar"};

  // Fills the AVI builder's compressor list, which it keeps for built movies.
  void Load() override;

  // ---- public methods, in the order of the class
  void Disconnect();
  void RefreshWindow();
  void VideoCompressionDialog();
  void Initialize();
  void VideoSource();
  void VideoDisplay();
  void VideoFormat();
  void Overlay();
  void Preview(int frames_per_second);
  void Record();
  void StopCapture();
  void SaveStill(const std::string& path, int quality, bool to_clipboard);
  void SetFilename(const std::string& path);
  std::string GetFilename();
  void OpenMultipleImage();
  void SetCaptureParameters();
  void CaptureSingle();
  void CloseMultipleCapture();
  void WDMCaptureDialog();
  void ResizeWDM();
  // On a device of the control kind: disconnects, sets the renderer, connects and previews again.
  void ReconnectWithRenderer(bool use_vmr9);
  void AudioVFW(bool enabled);
  void ConnectVideoCaptureDevice(int index, const std::string& kind, const std::string& name);
  void ShowTCR();

  // The picture laid over the live picture by "Set Image Overlay", with the colour that lets
  // the live picture through (packed, red low); no picture while none is set.
  struct ImageOverlay {
    std::shared_ptr<const platform::Picture> picture;
    std::int32_t transparent_colour = 0;
  };
  // Asks a picture and its transparent colour and lays it over the live picture.
  void SetImageOverlay();
  void ClearImageOverlay();
  const ImageOverlay& CurrentImageOverlay() const { return image_overlay_; }

  // The size of the picture at the scale of the moment: the control's while it shows with a
  // size, else the crosshair's, which the sizing of a driver and every resize of the window set.
  int PictureWidth() const { return ShowsControl() ? wdmX.Width : mira.Width; }
  int PictureHeight() const { return ShowsControl() ? wdmX.Height : mira.Height; }
  // The right button let go over the picture: on the driver kind the main window's View menu
  // pops up there; the control kind has nothing to pop up.
  void PictureRightButtonUp();
  // What the bars of the window take in height, pixels.
  static constexpr int kStatusBarHeight = 22;
  static constexpr int kToolbarHeight = 28;

  // The motion detector's view of this window: the frame goes over the clipboard into
  // MotionPicture, whose picture is what the window's surface shows at 96 dots an inch, unless
  // an overlay leaves the surface unreadable.
  void TakeFrame() override;
  HimetricSize FrameSize() const override;
  TwipsPerPixel DisplayScale() const override { return kDisplayScaleAt96Dpi; }
  std::int32_t ColourAt(int x, int y) const override;

  // The frame the window shows now, read without the clipboard or a file (the histogram and
  // the full-screen view take it); null while no device gives one.
  std::shared_ptr<const platform::Picture> CurrentFrame();

  bool QueryUnload(ui::UnloadMode mode) override;
  // The crosshair fills what the status bar leaves of the window.
  void Resize() override;

  // The capture window of the driver kind; null while none exists.
  platform::VfwCaptureWindow* CaptureWindow() const { return capture_window_.get(); }
  platform::VideoCaptureControl& Control() { return *control_; }
  // The capture control; null while the window has none.
  platform::VideoCaptureControl* ControlIfAny() { return control_.get(); }
  bool FrameJobOpen() const { return frame_job_open_; }
  // The index of the connected device, as the parameter file records it.
  int DeviceIndex() const { return device_index_; }
  const std::string& DeviceName() const { return device_name_; }

  // The handler of the control's event "capture stopped" (also run by WDMStatus).
  void CaptureStopped() override;

  // The kind of the connected device, as its Tag names it.
  DeviceKind Kind() const { return DeviceKindOfTag(Tag.get()); }

 private:
  void CaptureStarted() override;
  void DVExportFinished() override;
  void MouseDown(int button) override;
  void WDMStatus_Timer();
  // The camcorder's transport bar and the reading of its tape (dv_deck_control.cpp).
  void AddTransportButtons();
  void Mastertoolbar_ButtonClick(ui::ToolbarButton& button);
  void DVStatus_Timer();
  void ShowModeNotSupported();
  void InitializeDriver();
  void InitializeControl();
  void InitializeNetworkSource(DeviceKind kind);
  void MirrorViewButtons();
  void EnableControlKindMenus(bool device_settings);
  void FillFormatMenu();
  void FillInputMenu();
  void ClearControlKindMenus();
  void FollowDriverCaps();
  void SelectSoundLists(bool driver_lists);
  void SizeToPicture();
  void StatusBar_PanelClick(ui::Panel& panel);
  void ToggleAudioPreview(ui::Panel& panel);
  // Pixels at the view scale, rounded half to even as the decimal product is.
  int Scaled(int pixels) const;
  int ShownStatusBarHeight() const { return StatusBar.Visible ? kStatusBarHeight : 0; }
  bool IsControlKind() const;
  bool ShowsControl() const { return wdmX.Visible && wdmX.Width > 0 && wdmX.Height > 0; }
  bool AskAddress(const std::string& prompt, std::string& address);

  Program& program_;
  std::unique_ptr<platform::VfwCaptureWindow> capture_window_;
  std::unique_ptr<platform::VideoCaptureControl> control_;
  bool frame_job_open_ = false;
  bool address_refused_ = false;
  // ViewScale, a decimal of four places kept in ten-thousandths: 0.33, 0.5, 1, 2 or 3.
  int view_scale_ = 10000;
  ImageOverlay image_overlay_;
  int device_index_ = 0;
  std::string device_name_;
};

}  // namespace zr
