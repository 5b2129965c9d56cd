#include "platform/linux/test_tape_deck.h"

#include <chrono>
#include <mutex>

#include "platform/dv_tape_deck.h"
#include "platform/linux/paced_worker.h"
#include "platform/linux/test_camera.h"

namespace zr::platform::linux_impl {

namespace {

constexpr int kWidth = 720;
constexpr int kHeight = 576;
constexpr int kNeutralSetting = 128;
constexpr std::int64_t kFrameMicroseconds = 1'000'000 / DvTapeDeck::kFramesPerSecond;

class TestTapeDeck final : public FrameSource, public TapeTransport {
 public:
  TestTapeDeck() : deck_(MakeDemoTapeDeck()), born_(std::chrono::steady_clock::now()) {}
  ~TestTapeDeck() override { Stop(); }

  Result<void> Start(FrameSink& sink) override {
    worker_.Start([this, &sink] { Deliver(sink); });
    return {};
  }
  void Stop() override { worker_.Stop(); }

  int Width() const override { return kWidth; }
  int Height() const override { return kHeight; }
  double FramesPerSecond() const override { return DvTapeDeck::kFramesPerSecond; }
  std::vector<SourceFormat> Formats() const override { return {SourceFormat{kWidth, kHeight, 24}}; }
  Result<void> SelectFormat(int row) override {
    if (row != 0) return Error{"the camcorder has one format only", "SelectFormat"};
    return {};
  }
  std::vector<std::string> Inputs() const override { return {"DV"}; }
  int CurrentInput() const override { return 0; }
  Result<void> SelectInput(int index) override {
    if (index != 0) return Error{"the camcorder has one input only", "SelectInput"};
    return {};
  }
  std::vector<SourceControl> Controls() const override { return {}; }
  Result<void> SetControl(std::uint32_t, int) override { return Error{"the camcorder has no settings", "SetControl"}; }

  TapeTransport* Transport() override { return this; }
  Result<int> Command(int command) override {
    std::lock_guard lock(mutex_);
    return deck_.Command(command, NowMs());
  }
  Result<std::uint32_t> TimeCode() override {
    std::lock_guard lock(mutex_);
    return deck_.TimeCode(NowMs());
  }
  Result<DateTime> RecordDate() override {
    std::lock_guard lock(mutex_);
    return deck_.RecordDate(NowMs());
  }

 private:
  std::int64_t NowMs() const {
    return std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - born_).count();
  }
  std::int64_t FrameUnderHead() {
    std::lock_guard lock(mutex_);
    return deck_.Frame(NowMs());
  }
  // A frame every 25th of a second, stamped by the deck's own steady rate, showing the tape.
  void Deliver(FrameSink& sink) {
    const auto start = std::chrono::steady_clock::now();
    const TestPattern pattern(kWidth, kHeight, kNeutralSetting, kNeutralSetting);
    for (std::int64_t sequence = 0;; ++sequence) {
      const std::int64_t timestamp_us = sequence * kFrameMicroseconds;
      if (worker_.WaitUntilOrStop(start + std::chrono::microseconds(timestamp_us))) return;
      const std::int64_t frame = FrameUnderHead();
      auto picture = std::make_shared<Picture>();
      pattern.Render(frame, frame * kFrameMicroseconds, DvTapeDeck::kFramesPerSecond, *picture);
      sink.OnFrame(CapturedFrame{std::move(picture), timestamp_us, sequence});
    }
  }

  std::mutex mutex_;  // the deck, which the logic thread moves and the worker reads
  DvTapeDeck deck_;
  const std::chrono::steady_clock::time_point born_;
  PacedWorker worker_;
};

}  // namespace

std::unique_ptr<FrameSource> MakeTestTapeDeck() { return std::make_unique<TestTapeDeck>(); }

}  // namespace zr::platform::linux_impl
