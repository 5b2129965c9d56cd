#include "platform/linux/test_tuner.h"

#include <algorithm>
#include <atomic>
#include <iterator>
#include <utility>

#include "base/random_numbers.h"

namespace zr::platform::linux_impl {

namespace {

constexpr int kLowestChannel = 1;
constexpr int kHighestChannel = 99;
constexpr int kCableInput = 1;
constexpr int kAntennaInput = 2;

// The index of the station on `channel`; -1 for a channel without one.
int StationOn(int channel) {
  const auto* found = std::find(std::begin(kTestTunerStations), std::end(kTestTunerStations), channel);
  return found == std::end(kTestTunerStations) ? -1 : static_cast<int>(found - std::begin(kTestTunerStations));
}

// The station's picture: the camera's, its colour channels turned by the station's place, and
// darker for every second station, so no two of them look alike.
Picture StationPicture(const Picture& camera, int station) {
  Picture picture = camera;
  const int turn = station % 3;
  const bool darker = (station / 3) % 2 == 1;
  for (int y = 0; y < picture.height; ++y) {
    std::uint8_t* pixel = picture.PixelFromTop(0, y);
    for (int x = 0; x < picture.width; ++x, pixel += 3) {
      std::rotate(pixel, pixel + turn, pixel + 3);
      if (darker)
        for (int part = 0; part < 3; ++part) pixel[part] = static_cast<std::uint8_t>(pixel[part] / 2);
    }
  }
  return picture;
}

// Grey snow, a new drawing every frame.
Picture SnowPicture(int width, int height, std::int64_t sequence) {
  Picture picture = Picture::Blank(width, height);
  RandomNumbers random(static_cast<std::uint32_t>(sequence) * 2654435761u + 1u);
  for (int y = 0; y < height; ++y) {
    std::uint8_t* pixel = picture.PixelFromTop(0, y);
    for (int x = 0; x < width; ++x, pixel += 3) pixel[0] = pixel[1] = pixel[2] = random.NextByte();
  }
  return picture;
}

class TestTuner final : public FrameSource, public SourceTuner, private FrameSink {
 public:
  explicit TestTuner(TestCameraSettings settings) : camera_(MakeTestCamera(settings)) {}
  ~TestTuner() override { camera_->Stop(); }

  Result<void> Start(FrameSink& sink) override {
    sink_ = &sink;
    return camera_->Start(*this);
  }
  void Stop() override { camera_->Stop(); }
  int Width() const override { return camera_->Width(); }
  int Height() const override { return camera_->Height(); }
  double FramesPerSecond() const override { return camera_->FramesPerSecond(); }
  Result<void> SetFramesPerSecond(double frames_per_second) override {
    return camera_->SetFramesPerSecond(frames_per_second);
  }
  std::vector<SourceFormat> Formats() const override { return camera_->Formats(); }
  Result<void> SelectFormat(int row) override { return camera_->SelectFormat(row); }
  SourceTuner* Tuner() override { return this; }

  int LowestChannel() const override { return kLowestChannel; }
  int HighestChannel() const override { return kHighestChannel; }
  Result<void> Tune(int channel) override {
    if (channel < kLowestChannel || channel > kHighestChannel) return Error{"no such channel", "Tune"};
    channel_ = channel;
    return {};
  }
  int Input() const override { return input_; }
  Result<void> SelectInput(int input) override {
    if (input != kCableInput && input != kAntennaInput) return Error{"no such tuner input", "SelectInput"};
    input_ = input;
    return {};
  }
  Result<void> SetCountry(int) override { return {}; }
  bool Locked() override { return StationOn(channel_) >= 0; }

 private:
  void OnFrame(const CapturedFrame& frame) override {
    const int station = StationOn(channel_);
    CapturedFrame tuned = frame;
    tuned.picture = std::make_shared<const Picture>(
        station >= 0 ? StationPicture(*frame.picture, station)
                     : SnowPicture(frame.picture->width, frame.picture->height, frame.sequence));
    sink_->OnFrame(tuned);
  }
  void OnSourceEnded(const std::string& message) override { sink_->OnSourceEnded(message); }

  std::unique_ptr<FrameSource> camera_;
  FrameSink* sink_ = nullptr;
  std::atomic<int> channel_{kLowestChannel};
  int input_ = kAntennaInput;
};

}  // namespace

std::unique_ptr<FrameSource> MakeTestTuner(TestCameraSettings settings) {
  return std::make_unique<TestTuner>(std::move(settings));
}

}  // namespace zr::platform::linux_impl
