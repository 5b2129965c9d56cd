#include "platform/linux/source_level_meter.h"

#include <optional>
#include <string>

namespace zr::platform::linux_impl {

namespace {

constexpr AudioFormat kListeningFormat{48000, 2, 16};

class SourceLevelMeter final : public SoundLevelMeter, private AudioSink {
 public:
  SourceLevelMeter(EventLoop& loop, std::vector<AudioDeviceEntry> inputs)
      : inputs_(std::move(inputs)), posting_(loop) {}
  ~SourceLevelMeter() override { Stop(); }
  SourceLevelMeter(const SourceLevelMeter&) = delete;
  SourceLevelMeter& operator=(const SourceLevelMeter&) = delete;

  std::vector<std::string> Inputs() override {
    std::vector<std::string> names;
    for (const auto& input : inputs_) names.push_back(input.name);
    return names;
  }

  // The block cutter and the poster are set before the source's thread starts and left alone
  // until Stop has joined it: they belong to that thread in between.
  Result<void> Listen(int index, LevelListener listener) override {
    Stop();
    if (index < 0 || index >= static_cast<int>(inputs_.size()))
      return Error{"There is no sound input number " + std::to_string(index), "Listen"};
    source_ = inputs_[static_cast<std::size_t>(index)].open();
    blocks_.emplace(kListeningFormat);
    poster_.emplace(posting_.Begin(std::move(listener)));
    if (auto started = source_->Start(kListeningFormat, *this); !started) {
      Stop();
      return started.error();
    }
    return {};
  }

  void Stop() override {
    posting_.End();
    if (source_) source_->Stop();
    source_.reset();
  }

 private:
  // On the source's thread.
  void OnAudio(std::span<const std::uint8_t> pcm, std::int64_t) override {
    blocks_->Add(pcm, [this](int level) { poster_->Level(level); });
  }
  void OnAudioEnded(const std::string& message) override { poster_->Ended(message); }

  std::vector<AudioDeviceEntry> inputs_;
  LevelPosting posting_;
  std::unique_ptr<AudioSource> source_;
  std::optional<LevelBlocks> blocks_;
  std::optional<LevelPosting::Poster> poster_;
};

}  // namespace

std::unique_ptr<SoundLevelMeter> MakeSourceLevelMeter(EventLoop& loop, std::vector<AudioDeviceEntry> inputs) {
  return std::make_unique<SourceLevelMeter>(loop, std::move(inputs));
}

}  // namespace zr::platform::linux_impl
