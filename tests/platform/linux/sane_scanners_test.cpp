// The scanners through SANE, on its test backend, which the program offers as "Test Scanner"
// with a configuration of its own: its page at the default 50 dots an inch is 157 by 196.

#include "platform/linux/sane_scanners.h"

#include <gtest/gtest.h>
#if defined(__SANITIZE_ADDRESS__)
#include <sanitizer/lsan_interface.h>
#endif
#include <stdlib.h>

#include <optional>

#include "platform/linux/poll_event_loop.h"

namespace zr::platform::linux_impl {
namespace {

class SaneScannersTest : public testing::Test {
 protected:
  // The program's own configuration, as on a machine whose environment names none.
  SaneScannersTest() { unsetenv("SANE_CONFIG_DIR"); }

  // Scans `device`, cancelled at once when asked: before the device has sent its page.
  ScanResult Scan(const std::string& device, bool cancel = false) {
    std::optional<ScanResult> ended;
    const std::unique_ptr<ScanJob> job = scanners_->Scan(
        device,
        [&](int percent) {
          EXPECT_GE(percent, last_percent_);
          last_percent_ = percent;
        },
        [&](ScanResult result) { ended = std::move(result); });
    if (cancel) job->Cancel();
    loop_.RunModal([&] { return ended.has_value(); });
    return *ended;
  }

  PollEventLoop loop_;
  std::unique_ptr<Scanners> scanners_ = MakeSaneScanners(loop_);
  int last_percent_ = 0;
};

TEST_F(SaneScannersTest, OffersTheTestBackendAsTestScanner) {
#if defined(__SANITIZE_ADDRESS__)
  // SANE's backends keep what their device lists allocate, and sane_exit unloads them, so the
  // leak checker could not even name them; what our code allocates is checked by the scans.
  __lsan::ScopedDisabler sane_device_lists;
#endif
  int test_scanners = 0;
  for (const auto& source : scanners_->Sources()) {
    if (source.name == "Test Scanner") {
      EXPECT_EQ(source.id, "test:0");
      ++test_scanners;
    }
  }
  EXPECT_EQ(test_scanners, 1);
}

TEST_F(SaneScannersTest, ScansTheWholePageAtTheDefaultResolution) {
  const ScanResult result = Scan("test:0");
  ASSERT_TRUE(result.picture) << result.failure;
  EXPECT_EQ(result.picture->width, 157);
  EXPECT_EQ(result.picture->height, 196);
  EXPECT_EQ(result.picture->bottom_up_bgr.size(), Picture::BytesFor(157, 196));
  EXPECT_EQ(last_percent_, 100);
}

TEST_F(SaneScannersTest, CancelEndsWithoutPictureOrFailure) {
  const ScanResult result = Scan("test:0", true);
  EXPECT_FALSE(result.picture);
  EXPECT_EQ(result.failure, "");
}

TEST_F(SaneScannersTest, AMissingDeviceSaysWhy) {
  const ScanResult result = Scan("test:99");
  EXPECT_FALSE(result.picture);
  EXPECT_NE(result.failure, "");
}

TEST(SaneSourceName, NamesTheTestScannerAndTheOthersByMakerAndModel) {
  EXPECT_EQ(SaneSourceName("test:0", "Noname", "frontend-tester"), "Test Scanner");
  EXPECT_EQ(SaneSourceName("test:1", "Noname", "frontend-tester"), "");
  EXPECT_EQ(SaneSourceName("epson2:libusb:001:004", "Epson", "GT-F720"), "Epson GT-F720");
}

}  // namespace
}  // namespace zr::platform::linux_impl
