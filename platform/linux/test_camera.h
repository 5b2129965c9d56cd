#pragma once
// The built-in test camera: a device of its own, always listed, so that a machine without a
// camera can still show, snapshot and record. Its picture moves and tells the time: colour bars
// and a grey ramp scroll sideways, a bright block bounces about, and a panel in the top left
// corner shows the elapsed time "HH:MM:SS.ff" (ff = the frame within the second) and
// "frame N". Frame n depends only on n, the size, the rate and the two settings, never on the
// wall clock, so a run can be compared with another frame by frame.
//
// Threads: as for every frame source. The picture buffers go back to a pool once no consumer
// holds them anymore, from whatever thread lets go of the last reference; the pool outlives the
// camera as long as a picture is held.

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "platform/linux/frame_source.h"
#include "platform/picture.h"

namespace zr::platform::linux_impl {

struct TestCameraSettings {
  int width = 640;
  int height = 480;
  double frames_per_second = 30;
};

// The picture of the test camera at one size and one setting of brightness and contrast. The
// background is built once; a frame is a row copy of it at the frame's scroll offset with the
// block and the text panel drawn over it.
class TestPattern {
 public:
  struct Area {  // y counted from the top, as the operator sees the picture
    int x = 0;
    int y = 0;
    int width = 0;
    int height = 0;
  };

  // brightness and contrast 0..255; 128 leaves the picture as drawn.
  TestPattern(int width, int height, int brightness, int contrast);

  int Width() const { return width_; }
  int Height() const { return height_; }
  int Brightness() const { return brightness_; }
  int Contrast() const { return contrast_; }

  // Draws frame `frame`, taken `timestamp_us` after the start of a run at `frames_per_second`,
  // into `picture` (made the pattern's size first when it is not).
  void Render(std::int64_t frame, std::int64_t timestamp_us, double frames_per_second, Picture& picture) const;

  // Where the elapsed time and the frame counter are written.
  Area ClockArea() const;
  Area CounterArea() const;

 private:
  using Colour = std::array<std::uint8_t, 3>;  // blue, green, red

  void BuildBackground();
  void CopyBackground(std::int64_t frame, Picture& picture) const;
  void DrawBlock(std::int64_t frame, Picture& picture) const;
  void DrawPanel(std::int64_t frame, std::int64_t timestamp_us, double frames_per_second, Picture& picture) const;
  void FillArea(const Area& area, const Colour& colour, Picture& picture) const;
  void DrawText(const std::string& text, int x, int y, Picture& picture) const;
  Colour Adjusted(const Colour& colour) const;

  int width_;
  int height_;
  int brightness_;
  int contrast_;
  int text_scale_;
  std::array<std::uint8_t, 256> tone_curve_{};  // brightness and contrast as a lookup
  // Each distinct background row, twice over side by side, so that a scrolled row is one copy.
  std::vector<std::vector<std::uint8_t>> doubled_rows_;
  std::vector<std::size_t> row_of_line_;  // which of doubled_rows_ each line (from the top) shows
};

class PicturePool;

class TestCamera final : public FrameSource {
 public:
  explicit TestCamera(TestCameraSettings settings = {});
  ~TestCamera() override;
  TestCamera(const TestCamera&) = delete;
  TestCamera& operator=(const TestCamera&) = delete;

  Result<void> Start(FrameSink& sink) override;
  void Stop() override;

  int Width() const override;
  int Height() const override;
  double FramesPerSecond() const override;
  // Any rate from 1 to 30 frames a second; a faster one gives 30. Takes effect at once: frames
  // from the next one on are spaced at the new rate.
  Result<void> SetFramesPerSecond(double frames_per_second) override;

  std::vector<SourceFormat> Formats() const override;
  Result<void> SelectFormat(int row) override;
  std::vector<std::string> Inputs() const override;
  int CurrentInput() const override { return 0; }
  Result<void> SelectInput(int index) override;
  std::vector<SourceControl> Controls() const override;
  Result<void> SetControl(std::uint32_t id, int value) override;

  // Picture buffers in existence now, handed out or waiting in the pool to be used again.
  int LiveBuffers() const;

 private:
  struct Shared;
  void Deliver(FrameSink& sink);

  std::unique_ptr<Shared> shared_;
  std::shared_ptr<PicturePool> pool_;
};

std::unique_ptr<FrameSource> MakeTestCamera(TestCameraSettings settings = {});

}  // namespace zr::platform::linux_impl
