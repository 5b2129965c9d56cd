#include "platform/linux/test_camera.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <condition_variable>
#include <cstdio>
#include <cstring>
#include <mutex>
#include <optional>
#include <thread>
#include <utility>

#include "platform/linux/bitmap_font.h"

namespace zr::platform::linux_impl {

// ---- The picture buffers --------------------------------------------------------------------

// Pictures handed to the consumers come back here once the last of them lets go, so that a long
// run allocates a handful of buffers rather than one per frame. A picture held after the camera
// is gone finds no pool and is simply freed.
class PicturePool : public std::enable_shared_from_this<PicturePool> {
 public:
  std::shared_ptr<Picture> Acquire(int width, int height) {
    std::unique_ptr<Picture> picture = TakeFree(width, height);
    if (!picture) picture = Allocate(width, height);
    return std::shared_ptr<Picture>(picture.release(), [pool = weak_from_this()](Picture* returned) {
      if (auto alive = pool.lock()) {
        alive->Return(returned);
      } else {
        delete returned;
      }
    });
  }

  int Live() const {
    std::lock_guard lock(mutex_);
    return live_;
  }

 private:
  // More free buffers than this are let go: a consumer that held many frames for a while does not
  // pin their memory for the rest of the run.
  static constexpr std::size_t kKeptFree = 8;

  std::unique_ptr<Picture> TakeFree(int width, int height) {
    std::lock_guard lock(mutex_);
    while (!free_.empty()) {
      std::unique_ptr<Picture> picture = std::move(free_.back());
      free_.pop_back();
      if (picture->width == width && picture->height == height) return picture;
      --live_;  // a buffer of a size no longer delivered
    }
    return nullptr;
  }

  std::unique_ptr<Picture> Allocate(int width, int height) {
    auto picture = std::make_unique<Picture>(Picture::Blank(width, height));
    std::lock_guard lock(mutex_);
    ++live_;
    return picture;
  }

  void Return(Picture* returned) {
    std::unique_ptr<Picture> picture(returned);
    std::lock_guard lock(mutex_);
    if (free_.size() < kKeptFree) {
      free_.push_back(std::move(picture));
    } else {
      --live_;
    }
  }

  mutable std::mutex mutex_;
  std::vector<std::unique_ptr<Picture>> free_;
  int live_ = 0;
};

namespace {

// ---- The layout -----------------------------------------------------------------------------

// Text measures in units of the text scale: a glyph cell is 6 wide (a column of space after the
// glyph), a line 10 high.
constexpr int kCellWidth = kGlyphCellWidth;
constexpr int kLineAdvance = kGlyphRows + 3;
constexpr int kClockChars = 11;  // HH:MM:SS.ff
constexpr int kPanelChars = 14;  // "frame " and eight digits: over 900 hours at 30 frames a second
constexpr int kMarginUnits = 2;
constexpr int kPaddingUnits = 2;

constexpr std::uint32_t kBrightnessId = V4L2_CID_BRIGHTNESS;
constexpr std::uint32_t kContrastId = V4L2_CID_CONTRAST;
constexpr int kNeutralSetting = 128;
constexpr int kLargestSetting = 255;

constexpr double kFastestRate = 30;
constexpr double kSlowestRate = 1;

// A position going back and forth over 0..span as `distance` grows.
int Bounce(std::int64_t distance, int span) {
  if (span <= 0) return 0;
  const auto place = static_cast<int>(distance % (2 * static_cast<std::int64_t>(span)));
  return place <= span ? place : 2 * span - place;
}

// "HH:MM:SS.ff": the time a frame was taken and its number within that second.
std::string ClockText(std::int64_t timestamp_us, double frames_per_second) {
  const std::int64_t seconds = timestamp_us / 1'000'000;
  const std::int64_t into_second_us = timestamp_us % 1'000'000;
  // Timestamps are rounded to the microsecond; the small allowance keeps a frame that falls on
  // a whole frame position from reading as the one before it.
  const auto frame_in_second =
      static_cast<long long>(std::floor(static_cast<double>(into_second_us) * frames_per_second / 1e6 + 1e-4));
  char text[32];
  std::snprintf(text, sizeof text, "%02lld:%02lld:%02lld.%02lld", static_cast<long long>(seconds / 3600 % 100),
                static_cast<long long>(seconds / 60 % 60), static_cast<long long>(seconds % 60), frame_in_second);
  return text;
}

double ClampedRate(double frames_per_second) { return std::clamp(frames_per_second, kSlowestRate, kFastestRate); }

constexpr std::array<SourceFormat, 9> kFormats = {{{160, 120, 24},
                                                   {176, 144, 24},
                                                   {320, 240, 24},
                                                   {352, 288, 24},
                                                   {640, 480, 24},
                                                   {800, 600, 24},
                                                   {1024, 768, 24},
                                                   {1280, 720, 24},
                                                   {1920, 1080, 24}}};

}  // namespace

// ---- The picture ----------------------------------------------------------------------------

TestPattern::TestPattern(int width, int height, int brightness, int contrast)
    : width_(width),
      height_(height),
      brightness_(brightness),
      contrast_(contrast),
      text_scale_(std::max(1, std::min(width / 160, height / 120))) {
  for (int level = 0; level < 256; ++level) {
    const double adjusted = (level - kNeutralSetting) * contrast / static_cast<double>(kNeutralSetting) + brightness;
    tone_curve_[static_cast<std::size_t>(level)] =
        static_cast<std::uint8_t>(std::clamp<long>(std::lround(adjusted), 0, kLargestSetting));
  }
  BuildBackground();
}

TestPattern::Colour TestPattern::Adjusted(const Colour& colour) const {
  return {tone_curve_[colour[0]], tone_curve_[colour[1]], tone_curve_[colour[2]]};
}

// The top two thirds: eight colour bars at three quarters of full level, so that the white
// block stands out even on the white bar. The bottom third: a grey ramp from black to white.
void TestPattern::BuildBackground() {
  static constexpr Colour kBars[8] = {{191, 191, 191}, {0, 191, 191}, {191, 191, 0}, {0, 191, 0},
                                      {191, 0, 191},   {0, 0, 191},   {191, 0, 0},   {0, 0, 0}};
  const std::size_t doubled_bytes = static_cast<std::size_t>(width_) * 2 * 3;
  std::vector<std::uint8_t> bars(doubled_bytes);
  std::vector<std::uint8_t> ramp(doubled_bytes);
  for (int x = 0; x < width_; ++x) {
    const Colour bar = Adjusted(kBars[x * 8 / width_]);
    const auto level = static_cast<std::uint8_t>(x * kLargestSetting / std::max(1, width_ - 1));
    const Colour grey = Adjusted({level, level, level});
    for (const int copy : {x, x + width_}) {
      std::memcpy(&bars[static_cast<std::size_t>(copy) * 3], bar.data(), 3);
      std::memcpy(&ramp[static_cast<std::size_t>(copy) * 3], grey.data(), 3);
    }
  }
  doubled_rows_ = {std::move(bars), std::move(ramp)};
  const int bars_end = height_ * 2 / 3;
  for (int y = 0; y < height_; ++y) row_of_line_.push_back(y < bars_end ? 0 : 1);
}

void TestPattern::Render(std::int64_t frame, std::int64_t timestamp_us, double frames_per_second,
                         Picture& picture) const {
  if (picture.width != width_ || picture.height != height_) picture = Picture::Blank(width_, height_);
  CopyBackground(frame, picture);
  DrawBlock(frame, picture);
  DrawPanel(frame, timestamp_us, frames_per_second, picture);
}

// The background scrolls left a few pixels a frame: each line is one copy out of its doubled row.
void TestPattern::CopyBackground(std::int64_t frame, Picture& picture) const {
  const int pixels_per_frame = std::max(2, width_ / 160);
  const auto offset = static_cast<std::size_t>(frame * pixels_per_frame % width_);
  const std::size_t line_bytes = static_cast<std::size_t>(width_) * 3;
  for (int y = 0; y < height_; ++y) {
    const std::vector<std::uint8_t>& row = doubled_rows_[row_of_line_[static_cast<std::size_t>(y)]];
    std::memcpy(picture.PixelFromTop(0, y), row.data() + offset * 3, line_bytes);
  }
}

void TestPattern::DrawBlock(std::int64_t frame, Picture& picture) const {
  const int block_width = std::max(4, width_ / 8);
  const int block_height = std::max(4, height_ / 6);
  const Area block{Bounce(frame * std::max(1, width_ / 96), width_ - block_width),
                   Bounce(frame * std::max(1, height_ / 80), height_ - block_height), block_width, block_height};
  const int border = text_scale_;
  FillArea(block, Adjusted({0, 0, 0}), picture);
  FillArea({block.x + border, block.y + border, block.width - 2 * border, block.height - 2 * border},
           Adjusted({255, 255, 255}), picture);
}

void TestPattern::DrawPanel(std::int64_t frame, std::int64_t timestamp_us, double frames_per_second,
                            Picture& picture) const {
  const int unit = text_scale_;
  const int margin = kMarginUnits * unit;
  const int padding = kPaddingUnits * unit;
  const Area panel{margin, margin, 2 * padding + (kPanelChars * kCellWidth - 1) * unit,
                   2 * padding + (kLineAdvance + kGlyphRows) * unit};
  FillArea(panel, Adjusted({0, 0, 0}), picture);
  const Area clock = ClockArea();
  const Area counter = CounterArea();
  DrawText(ClockText(timestamp_us, frames_per_second), clock.x, clock.y, picture);
  DrawText("frame " + std::to_string(frame), counter.x, counter.y, picture);
}

TestPattern::Area TestPattern::ClockArea() const {
  const int unit = text_scale_;
  const int corner = (kMarginUnits + kPaddingUnits) * unit;
  return {corner, corner, (kClockChars * kCellWidth - 1) * unit, kGlyphRows * unit};
}

TestPattern::Area TestPattern::CounterArea() const {
  const int unit = text_scale_;
  const int corner = (kMarginUnits + kPaddingUnits) * unit;
  return {corner, corner + kLineAdvance * unit, (kPanelChars * kCellWidth - 1) * unit, kGlyphRows * unit};
}

// Fills the part of `area` inside the picture: the first line pixel by pixel, the others as
// copies of it.
void TestPattern::FillArea(const Area& area, const Colour& colour, Picture& picture) const {
  const int left = std::max(0, area.x);
  const int right = std::min(width_, area.x + area.width);
  const int top = std::max(0, area.y);
  const int bottom = std::min(height_, area.y + area.height);
  if (left >= right || top >= bottom) return;
  std::uint8_t* first_line = picture.PixelFromTop(left, top);
  for (int x = 0; x < right - left; ++x) std::memcpy(first_line + x * 3, colour.data(), 3);
  const std::size_t line_bytes = static_cast<std::size_t>(right - left) * 3;
  for (int y = top + 1; y < bottom; ++y) std::memcpy(picture.PixelFromTop(left, y), first_line, line_bytes);
}

void TestPattern::DrawText(const std::string& text, int x, int y, Picture& picture) const {
  const Colour ink = Adjusted({255, 255, 255});
  DrawBitmapText(text, x, y, text_scale_, ink, picture);
}

// ---- The device -----------------------------------------------------------------------------

namespace {

// When each frame of a run is due, counted from the run's start: frame n at n periods, computed
// from n each time so that the rounding to microseconds never adds up. A change of rate keeps
// the frames already stamped and spaces the following ones at the new rate.
class FrameClock {
 public:
  explicit FrameClock(double frames_per_second) : frames_per_second_(frames_per_second) {}

  void UseRate(double frames_per_second, std::int64_t from_frame) {
    if (frames_per_second == frames_per_second_) return;
    base_us_ = TimestampOf(from_frame);
    base_frame_ = from_frame;
    frames_per_second_ = frames_per_second;
  }
  std::int64_t TimestampOf(std::int64_t frame) const {
    return base_us_ + std::llround(static_cast<double>(frame - base_frame_) * 1e6 / frames_per_second_);
  }
  double Rate() const { return frames_per_second_; }

 private:
  double frames_per_second_;
  std::int64_t base_frame_ = 0;
  std::int64_t base_us_ = 0;
};

// What the next frame looks like, read under the lock once a frame.
struct Look {
  int width;
  int height;
  double frames_per_second;
  int brightness;
  int contrast;
};

bool PatternShows(const TestPattern& pattern, const Look& look) {
  return pattern.Width() == look.width && pattern.Height() == look.height && pattern.Brightness() == look.brightness &&
         pattern.Contrast() == look.contrast;
}

}  // namespace

struct TestCamera::Shared {
  mutable std::mutex mutex;
  std::condition_variable wake;  // Stop wakes the delivery thread out of its wait
  bool stop_requested = false;
  Look look;
  std::thread thread;

  Look Current() const {
    std::lock_guard lock(mutex);
    return look;
  }
  // Waits until `due`; true when Stop asked to end meanwhile.
  bool WaitUntilOrStop(std::chrono::steady_clock::time_point due) {
    std::unique_lock lock(mutex);
    return wake.wait_until(lock, due, [this] { return stop_requested; });
  }
};

TestCamera::TestCamera(TestCameraSettings settings)
    : shared_(std::make_unique<Shared>()), pool_(std::make_shared<PicturePool>()) {
  const TestCameraSettings defaults;
  const bool size_usable = settings.width > 0 && settings.height > 0;
  shared_->look =
      Look{size_usable ? settings.width : defaults.width, size_usable ? settings.height : defaults.height,
           settings.frames_per_second > 0 ? ClampedRate(settings.frames_per_second) : defaults.frames_per_second,
           kNeutralSetting, kNeutralSetting};
}

TestCamera::~TestCamera() { Stop(); }

Result<void> TestCamera::Start(FrameSink& sink) {
  Stop();
  shared_->thread = std::thread([this, &sink] { Deliver(sink); });
  return {};
}

void TestCamera::Stop() {
  if (!shared_->thread.joinable()) return;
  {
    std::lock_guard lock(shared_->mutex);
    shared_->stop_requested = true;
  }
  shared_->wake.notify_all();
  shared_->thread.join();
  std::lock_guard lock(shared_->mutex);
  shared_->stop_requested = false;
}

// Renders frame n ahead of its time, waits for it on the steady clock and hands it over. A frame
// that is already late goes out at once with its own timestamp, so a slow spell delays frames
// without losing any and without stamping them with the time they happened to leave.
void TestCamera::Deliver(FrameSink& sink) {
  const auto start = std::chrono::steady_clock::now();
  std::optional<TestPattern> pattern;
  FrameClock clock(shared_->Current().frames_per_second);
  const auto draw = [&](std::int64_t frame, std::int64_t timestamp_us, const Look& look) {
    if (!pattern || !PatternShows(*pattern, look))
      pattern.emplace(look.width, look.height, look.brightness, look.contrast);
    std::shared_ptr<Picture> picture = pool_->Acquire(look.width, look.height);
    pattern->Render(frame, timestamp_us, clock.Rate(), *picture);
    return picture;
  };
  for (std::int64_t frame = 0;; ++frame) {
    const Look look = shared_->Current();
    clock.UseRate(look.frames_per_second, frame);
    const std::int64_t timestamp_us = clock.TimestampOf(frame);
    std::shared_ptr<Picture> picture = draw(frame, timestamp_us, look);
    if (shared_->WaitUntilOrStop(start + std::chrono::microseconds(timestamp_us))) return;
    // A size or setting chosen during the wait shows in this frame already (at one frame a
    // second the wait is long).
    if (const Look now = shared_->Current(); !PatternShows(*pattern, now)) picture = draw(frame, timestamp_us, now);
    sink.OnFrame(CapturedFrame{std::move(picture), timestamp_us, frame});
  }
}

int TestCamera::Width() const { return shared_->Current().width; }
int TestCamera::Height() const { return shared_->Current().height; }
double TestCamera::FramesPerSecond() const { return shared_->Current().frames_per_second; }

Result<void> TestCamera::SetFramesPerSecond(double frames_per_second) {
  if (!(frames_per_second > 0))
    return Error{"the test camera needs a rate above zero frames a second", "SetFramesPerSecond"};
  std::lock_guard lock(shared_->mutex);
  shared_->look.frames_per_second = ClampedRate(frames_per_second);
  return {};
}

std::vector<SourceFormat> TestCamera::Formats() const { return {kFormats.begin(), kFormats.end()}; }

Result<void> TestCamera::SelectFormat(int row) {
  if (row < 0 || row >= static_cast<int>(kFormats.size()))
    return Error{"the test camera has no format " + std::to_string(row), "SelectFormat"};
  std::lock_guard lock(shared_->mutex);
  const SourceFormat& format = kFormats[static_cast<std::size_t>(row)];
  shared_->look.width = format.width;
  shared_->look.height = format.height;
  return {};
}

std::vector<std::string> TestCamera::Inputs() const { return {"Camera"}; }

Result<void> TestCamera::SelectInput(int index) {
  if (index != 0) return Error{"the test camera has one input only", "SelectInput"};
  return {};
}

std::vector<SourceControl> TestCamera::Controls() const {
  const Look look = shared_->Current();
  return {SourceControl{kBrightnessId, "Brightness", 0, kLargestSetting, 1, kNeutralSetting, look.brightness, false},
          SourceControl{kContrastId, "Contrast", 0, kLargestSetting, 1, kNeutralSetting, look.contrast, false}};
}

Result<void> TestCamera::SetControl(std::uint32_t id, int value) {
  if (id != kBrightnessId && id != kContrastId) return Error{"the test camera has no such setting", "SetControl"};
  if (value < 0 || value > kLargestSetting)
    return Error{"the setting takes values from 0 to " + std::to_string(kLargestSetting), "SetControl"};
  std::lock_guard lock(shared_->mutex);
  (id == kBrightnessId ? shared_->look.brightness : shared_->look.contrast) = value;
  return {};
}

int TestCamera::LiveBuffers() const { return pool_->Live(); }

std::unique_ptr<FrameSource> MakeTestCamera(TestCameraSettings settings) {
  return std::make_unique<TestCamera>(settings);
}

}  // namespace zr::platform::linux_impl
