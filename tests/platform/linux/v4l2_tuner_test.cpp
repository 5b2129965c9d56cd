#include "platform/linux/v4l2_tuner.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <memory>
#include <string>

#include "platform/linux/v4l2_device.h"
#include "tests/support/fake_v4l2_system.h"
#include "tests/support/local_http_server.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using ::zr::testing::FakeV4l2Device;
using ::zr::testing::Ok;
using namespace std::chrono_literals;

const std::string kCard = "/dev/video0";
// Two countries on small tables: a gap at 3-4 and 6-20, a cable table of its own, and a
// channel (69) beyond the cards' reach.
constexpr const char* kPlan = R"([countries]
1  NTSC-M   us    us
49 PAL-B/G  west  west-cable
[table west]
2  E2  48250
5  E5  175250
21 21  471250
69 69  855250
[table west-cable]
2   E2   48250
121 S21  303250
[table us]
2  2  55250
7  7  175250
)";

constexpr std::uint32_t kHighUnitsPerMhz = 16;     // 62.5 kHz
constexpr std::uint32_t kLowUnitsPerMhz = 16'000;  // 62.5 Hz
constexpr std::uint16_t kStation = 65535;

TEST(V4l2TunerUnitsTest, CarriersInTheTunersUnitsAndSignalsAsLocks) {
  const struct {
    int khz;
    bool low_units;
    std::uint32_t units;
  } cases[] = {{48250, false, 772},    {55250, false, 884},   {60500, false, 968},    {247430, false, 3959},
               {855250, false, 13684}, {55250, true, 884000}, {247430, true, 3958880}};
  for (const auto& [khz, low_units, units] : cases) EXPECT_EQ(TunerUnitsOf(khz, low_units), units) << khz;
  EXPECT_FALSE(SignalLocks(0));
  EXPECT_FALSE(SignalLocks(32767));
  EXPECT_TRUE(SignalLocks(32768));
  EXPECT_TRUE(SignalLocks(65535));
}

// A card whose tuner reaches 44 to 500 MHz in the units `per_mhz` gives, with stations at the
// carriers `stations` (kHz), on the fake system; the tuner's clock is the test's.
class V4l2TunerTest : public ::testing::Test {
 protected:
  void TearDown() override {
    EXPECT_EQ(system.OpenFiles(), 0);
    EXPECT_THAT(system.Misuses(), ::testing::IsEmpty());
  }

  void AddCard(std::uint32_t per_mhz, std::vector<int> stations, v4l2_std_id standard = V4L2_STD_PAL_BG) {
    FakeV4l2Device card;
    card.card = "TV Card";
    card.node_caps |= V4L2_CAP_TUNER;
    card.formats = {{V4L2_PIX_FMT_GREY, {{4, 4}}, {}}};
    card.inputs = {"Composite", "Television"};
    card.tuner_input = 1;
    card.standard = standard;
    card.tuner =
        FakeV4l2Device::Tuner{per_mhz == kLowUnitsPerMhz ? V4L2_TUNER_CAP_LOW : 0u, 44 * per_mhz, 500 * per_mhz, {}};
    for (const int khz : stations) card.tuner->signals[TunerUnitsOf(khz, per_mhz == kLowUnitsPerMhz)] = kStation;
    system.AddDevice(kCard, card);
  }

  std::unique_ptr<SourceTuner> MakeTuner() {
    return MakeV4l2Tuner(
        system, kCard, plan, [this](const auto& change) { return change(DeviceFile(system, kCard)); },
        [this] { return now; });
  }

  // Whether the tuner, once settled, has locked a signal; it must be settling until then.
  bool LockedOnceSettled(SourceTuner& tuner) {
    now += kTunerSettleTime - 1ms;
    EXPECT_TRUE(tuner.Settling());
    now += 1ms;
    EXPECT_FALSE(tuner.Settling());
    return tuner.Locked();
  }

  std::uint32_t Frequency() const { return system.State(kCard).frequency; }

  zr::testing::FakeV4l2System system;
  SharedChannelPlan plan = std::make_shared<const Result<TvChannelPlan>>(ParseTvChannelPlan(kPlan));
  std::chrono::steady_clock::time_point now{};
};

TEST_F(V4l2TunerTest, TunesTheCarrierInTheTunersUnitsAndReadsTheSignalOnceSettled) {
  for (const std::uint32_t per_mhz : {kHighUnitsPerMhz, kLowUnitsPerMhz}) {
    AddCard(per_mhz, {471250});
    const auto tuner = MakeTuner();
    EXPECT_FALSE(tuner->Settling());
    ASSERT_TRUE(Ok(tuner->Tune(21)));
    EXPECT_EQ(Frequency(), TunerUnitsOf(471250, per_mhz == kLowUnitsPerMhz));
    EXPECT_TRUE(LockedOnceSettled(*tuner));
    ASSERT_TRUE(Ok(tuner->Tune(5)));
    EXPECT_FALSE(LockedOnceSettled(*tuner));
  }
}

// A gap of the table, or a channel beyond the tuner's range, is not tuned and locks nothing, though
// the station tuned before is still there.
TEST_F(V4l2TunerTest, AGapOrAChannelBeyondTheTunerIsNotTuned) {
  AddCard(kHighUnitsPerMhz, {48250});
  const auto tuner = MakeTuner();
  ASSERT_TRUE(Ok(tuner->Tune(2)));
  for (const int channel : {3, 69}) {
    EXPECT_FALSE(tuner->Tune(channel).ok());
    EXPECT_FALSE(tuner->Settling());
    EXPECT_FALSE(tuner->Locked());
    EXPECT_EQ(Frequency(), TunerUnitsOf(48250, false));
  }
}

// The card's own standard chooses the country until the operator names one; the bar runs over
// the channels the tuner reaches.
TEST_F(V4l2TunerTest, TheBarRunsOverTheReachableChannelsOfTheCardsCountry) {
  const struct {
    v4l2_std_id standard;
    int lowest, highest;
  } cases[] = {{V4L2_STD_PAL_BG, 2, 21}, {V4L2_STD_NTSC_M, 2, 7}, {V4L2_STD_SECAM_L, 2, 7}};
  for (const auto& [standard, lowest, highest] : cases) {
    AddCard(kHighUnitsPerMhz, {}, standard);
    const auto tuner = MakeTuner();
    EXPECT_EQ(tuner->LowestChannel(), lowest);
    EXPECT_EQ(tuner->HighestChannel(), highest);  // the first country when none has the standard
  }
}

// The country sets the card's standard and the table, the input the table; both tune the
// channel again from the new table where it has one.
TEST_F(V4l2TunerTest, CountryAndInputChooseTheTableAndRetune) {
  AddCard(kHighUnitsPerMhz, {});
  const auto tuner = MakeTuner();
  ASSERT_TRUE(Ok(tuner->Tune(2)));
  ASSERT_TRUE(Ok(tuner->SetCountry(1)));
  EXPECT_EQ(system.State(kCard).standard, V4L2_STD_NTSC_M);
  EXPECT_EQ(Frequency(), TunerUnitsOf(55250, false));
  EXPECT_FALSE(tuner->SetCountry(999).ok());
  EXPECT_EQ(system.State(kCard).standard, V4L2_STD_NTSC_M);
  EXPECT_EQ(tuner->HighestChannel(), 7);

  ASSERT_TRUE(Ok(tuner->SetCountry(49)));
  EXPECT_EQ(system.State(kCard).standard, V4L2_STD_PAL_BG);
  EXPECT_EQ(tuner->Input(), 2);
  ASSERT_TRUE(Ok(tuner->SelectInput(1)));
  EXPECT_EQ(tuner->Input(), 1);
  EXPECT_EQ(tuner->HighestChannel(), 121);
  ASSERT_TRUE(Ok(tuner->Tune(121)));
  EXPECT_EQ(Frequency(), TunerUnitsOf(303250, false));
  EXPECT_FALSE(tuner->SelectInput(3).ok());
  EXPECT_EQ(tuner->Input(), 1);
}

// On a streaming card the new standard is set between a stop and a start of the stream.
TEST_F(V4l2TunerTest, TheSourceOfATvCardHasTheTunerAndRestartsItsStreamForTheStandard) {
  AddCard(kHighUnitsPerMhz, {});
  const auto camera = MakeV4l2Source(system, kCard);
  EXPECT_EQ(camera->Tuner(), nullptr);
  const auto source = MakeV4l2Source(system, kCard, plan);
  ASSERT_NE(source->Tuner(), nullptr);
  zr::testing::CollectingSink sink;
  ASSERT_TRUE(Ok(source->Start(sink)));
  ASSERT_TRUE(Ok(source->Tuner()->SetCountry(1)));
  EXPECT_EQ(system.State(kCard).standard, V4L2_STD_NTSC_M);
  EXPECT_TRUE(system.State(kCard).streaming);
  EXPECT_EQ(system.State(kCard).stream_starts, 2);
}

}  // namespace
}  // namespace zr::platform::linux_impl
