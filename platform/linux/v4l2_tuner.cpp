#include "platform/linux/v4l2_tuner.h"

#include <linux/videodev2.h>

#include <algorithm>
#include <cmath>
#include <optional>
#include <utility>
#include <vector>

namespace zr::platform::linux_impl {

namespace {

constexpr int kCableInput = 1;
constexpr int kAntennaInput = 2;
constexpr std::int32_t kLockedStrength = 32768;
// Ends the input list of a driver that never says "no more".
constexpr std::uint32_t kMaxInputs = 64;

// What the card's tuner is: read once, it does not change.
struct TunerFacts {
  std::uint32_t index = 0;
  bool low_units = false;
  std::uint32_t range_low = 0;
  std::uint32_t range_high = 0;

  bool Reaches(int khz) const {
    const std::uint32_t units = TunerUnitsOf(khz, low_units);
    return units >= range_low && units <= range_high;
  }
};

class V4l2Tuner final : public SourceTuner {
 public:
  V4l2Tuner(V4l2System& system, std::string path, SharedChannelPlan plan, WhileNotStreaming while_not_streaming,
            SteadyClock clock)
      : system_(system),
        path_(std::move(path)),
        plan_(std::move(plan)),
        while_not_streaming_(std::move(while_not_streaming)),
        clock_(std::move(clock)) {}

  int LowestChannel() const override {
    const std::vector<int> numbers = ReachableNumbers();
    return numbers.empty() ? 0 : numbers.front();
  }
  int HighestChannel() const override {
    const std::vector<int> numbers = ReachableNumbers();
    return numbers.empty() ? 0 : numbers.back();
  }

  Result<void> Tune(int channel) override {
    channel_ = channel;
    tuned_ = false;
    const TvChannel* found = ChannelNumbered(channel);
    if (!found) return Error{"there is no channel " + std::to_string(channel) + " in the tuner's table", "Tune"};
    Result<TunerFacts> facts = Facts();
    if (!facts) return facts.error();
    if (!facts->Reaches(found->video_khz))
      return Error{"channel " + found->name + " lies beyond the tuner's range", "Tune"};
    v4l2_frequency frequency{};
    frequency.tuner = facts->index;
    frequency.type = V4L2_TUNER_ANALOG_TV;
    frequency.frequency = TunerUnitsOf(found->video_khz, facts->low_units);
    if (Result<void> done = Ask(VIDIOC_S_FREQUENCY, &frequency, "VIDIOC_S_FREQUENCY"); !done) return done;
    tuned_ = true;
    settled_at_ = clock_() + kTunerSettleTime;
    return {};
  }

  int Input() const override { return input_; }

  Result<void> SelectInput(int input) override {
    if (input != kCableInput && input != kAntennaInput) return Error{"no such tuner input", "SelectInput"};
    input_ = input;
    Retune();
    return {};
  }

  Result<void> SetCountry(int code) override {
    if (!plan_->ok()) return plan_->error();
    const TvCountry* country = (*plan_)->Country(code);
    if (!country) return Error{"the channel plan has no country with the code " + std::to_string(code), "SetCountry"};
    Result<void> set = while_not_streaming_([&](const DeviceFile& file) -> Result<void> {
      v4l2_std_id standard = V4l2StandardOf(country->standard);
      if (const int error = file.Ioctl(VIDIOC_S_STD, &standard)) return DeviceError(path_, error, "VIDIOC_S_STD");
      return {};
    });
    if (!set) return set;
    country_ = country;
    Retune();
    return {};
  }

  bool Settling() override { return tuned_ && clock_() < settled_at_; }

  bool Locked() override {
    if (!tuned_) return false;
    const Result<TunerFacts> facts = Facts();
    if (!facts) return false;
    v4l2_tuner tuner{};
    tuner.index = facts->index;
    return Ask(VIDIOC_G_TUNER, &tuner, "VIDIOC_G_TUNER").ok() && SignalLocks(tuner.signal);
  }

 private:
  // The channel chosen before comes again from the new table, where it has one.
  void Retune() {
    if (channel_) (void)Tune(*channel_);
  }

  const std::vector<TvChannel>* ChannelTable() const {
    const TvCountry* country = Country();
    if (!country) return nullptr;
    return (*plan_)->Table(input_ == kCableInput ? country->cable_table : country->antenna_table);
  }

  const TvChannel* ChannelNumbered(int number) const {
    const std::vector<TvChannel>* table = ChannelTable();
    if (!table) return nullptr;
    const auto found = std::find_if(table->begin(), table->end(),
                                    [number](const TvChannel& channel) { return channel.number == number; });
    return found == table->end() ? nullptr : &*found;
  }

  // The table's channels the tuner can reach, by number; the whole table when the tuner cannot
  // be asked.
  std::vector<int> ReachableNumbers() const {
    std::vector<int> numbers;
    const std::vector<TvChannel>* table = ChannelTable();
    if (!table) return numbers;
    const Result<TunerFacts> facts = Facts();
    for (const TvChannel& channel : *table)
      if (!facts || facts->Reaches(channel.video_khz)) numbers.push_back(channel.number);
    return numbers;
  }

  // The country the operator named; until then, the first of the plan whose standard the card is
  // set to, else the plan's first.
  const TvCountry* Country() const {
    if (country_ || !plan_->ok() || (*plan_)->countries.empty()) return country_;
    v4l2_std_id standard = 0;
    (void)Ask(VIDIOC_G_STD, &standard, "VIDIOC_G_STD");
    const auto& countries = (*plan_)->countries;
    const auto same = std::find_if(countries.begin(), countries.end(), [standard](const TvCountry& country) {
      return (V4l2StandardOf(country.standard) & standard) != 0;
    });
    country_ = same == countries.end() ? &countries.front() : &*same;
    return country_;
  }

  Result<TunerFacts> Facts() const {
    if (facts_) return *facts_;
    TunerFacts facts;
    facts.index = TunerOfTheTvInput();
    v4l2_tuner tuner{};
    tuner.index = facts.index;
    if (Result<void> asked = Ask(VIDIOC_G_TUNER, &tuner, "VIDIOC_G_TUNER"); !asked) return asked.error();
    facts.low_units = (tuner.capability & V4L2_TUNER_CAP_LOW) != 0;
    facts.range_low = tuner.rangelow;
    facts.range_high = tuner.rangehigh;
    facts_ = facts;
    return facts;
  }

  // The tuner behind the card's first TV input; the card's first tuner where no input names one.
  std::uint32_t TunerOfTheTvInput() const {
    for (std::uint32_t index = 0; index < kMaxInputs; ++index) {
      v4l2_input input{};
      input.index = index;
      if (!Ask(VIDIOC_ENUMINPUT, &input, "VIDIOC_ENUMINPUT")) break;
      if (input.type == V4L2_INPUT_TYPE_TUNER) return input.tuner;
    }
    return 0;
  }

  // One call on the tuner's file, opened at the first call and again after the card was gone.
  Result<void> Ask(unsigned long request, void* argument, const char* where) const {
    if (!file_ || !file_->is_open()) file_.emplace(system_, path_);
    if (!file_->is_open()) return OpenError(path_, file_->open_error());
    const int error = file_->Ioctl(request, argument);
    if (error == 0) return {};
    if (IsUnplugged(error)) file_.reset();
    return DeviceError(path_, error, where);
  }

  V4l2System& system_;
  const std::string path_;
  const SharedChannelPlan plan_;
  const WhileNotStreaming while_not_streaming_;
  const SteadyClock clock_;
  mutable std::optional<DeviceFile> file_;
  mutable std::optional<TunerFacts> facts_;
  mutable const TvCountry* country_ = nullptr;
  int input_ = kAntennaInput;
  std::optional<int> channel_;
  bool tuned_ = false;  // the channel is tuned: its signal can be read once it has settled
  std::chrono::steady_clock::time_point settled_at_;
};

}  // namespace

std::uint32_t TunerUnitsOf(int khz, bool low_units) {
  // 62.5 Hz is 1/16 kHz; 62.5 kHz is 1/16 MHz.
  const double units = low_units ? khz * 16.0 : khz * 16.0 / 1000.0;
  return static_cast<std::uint32_t>(std::lround(units));
}

bool SignalLocks(std::int32_t strength) { return strength >= kLockedStrength; }

std::uint64_t V4l2StandardOf(TvStandard standard) {
  switch (standard) {
    case TvStandard::NtscM:
      return V4L2_STD_NTSC_M;
    case TvStandard::NtscMJapan:
      return V4L2_STD_NTSC_M_JP;
    case TvStandard::PalBG:
      return V4L2_STD_PAL_BG;
    case TvStandard::PalI:
      return V4L2_STD_PAL_I;
    case TvStandard::PalDK:
      return V4L2_STD_PAL_DK;
    case TvStandard::PalM:
      return V4L2_STD_PAL_M;
    case TvStandard::PalN:
      return V4L2_STD_PAL_N;
    case TvStandard::PalNc:
      return V4L2_STD_PAL_Nc;
    case TvStandard::SecamL:
      return V4L2_STD_SECAM_L;
    case TvStandard::SecamDK:
      return V4L2_STD_SECAM_DK;
    case TvStandard::SecamBG:
      return V4L2_STD_SECAM_B | V4L2_STD_SECAM_G;
  }
  return 0;
}

std::unique_ptr<SourceTuner> MakeV4l2Tuner(V4l2System& system, std::string path, SharedChannelPlan plan,
                                           WhileNotStreaming while_not_streaming, SteadyClock clock) {
  return std::make_unique<V4l2Tuner>(system, std::move(path), std::move(plan), std::move(while_not_streaming),
                                     std::move(clock));
}

}  // namespace zr::platform::linux_impl
