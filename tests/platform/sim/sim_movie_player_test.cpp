// The simulated player over a movie the real writer made: what it reads of the file, where
// seeks land, playing with the virtual clock to the end, and an end that reaches only a
// player still playing that movie.

#include "platform/sim/sim_movie_player.h"

#include <gtest/gtest.h>

#include <memory>

#include "platform/linux/ffmpeg_movie_files.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::sim {
namespace {

using zr::testing::Ok;

class SimMoviePlayerTest : public ::testing::Test {
 protected:
  void SetUp() override {
    auto writer = movies_.OpenWriter(path_, MovieFormat{34, 18, 10, VideoCodec::Mjpeg, 90, {}});
    ASSERT_TRUE(Ok(writer));
    const Picture frame = Picture::Blank(34, 18);
    for (int i = 0; i < 25; ++i) ASSERT_TRUE(Ok((*writer)->WriteVideoFrame(frame.View())));
    ASSERT_TRUE(Ok((*writer)->Close()));
    player_->SetEndHandler([this] { ++ends_; });
  }

  zr::testing::TemporaryFolder folder_;
  std::string path_ = folder_.File("movie.avi");
  linux_impl::FfmpegMovieFiles movies_;
  SimEventLoop loop_;
  std::unique_ptr<SimMoviePlayer> player_ = std::make_unique<SimMoviePlayer>(loop_, movies_);
  int ends_ = 0;
};

TEST_F(SimMoviePlayerTest, OpensAtTheFirstFrameAndSeeksClampToTheMovie) {
  EXPECT_FALSE(player_->OpenMovie(folder_.File("missing.avi")));
  EXPECT_EQ(player_->FrameCount(), 0);
  EXPECT_EQ(player_->CurrentPicture(), nullptr);

  ASSERT_TRUE(Ok(player_->OpenMovie(path_)));
  EXPECT_EQ(player_->CurrentFrame(), 1);
  EXPECT_EQ(player_->FrameCount(), 25);
  EXPECT_EQ(player_->VideoWidth(), 34);
  EXPECT_EQ(player_->VideoHeight(), 18);
  EXPECT_EQ(player_->LengthMs(), 2500);
  EXPECT_EQ(player_->Duration(), "00:00:02.50");
  player_->SeekFrame(7.9);
  EXPECT_EQ(player_->CurrentFrame(), 7);
  EXPECT_EQ(player_->PositionMs(), 600);
  EXPECT_EQ(player_->CurrentPicture()->bottom_up_bgr[0], 7);
  player_->SeekFrame(0);
  EXPECT_EQ(player_->CurrentFrame(), 1);
  player_->SeekFrame(1e12);
  EXPECT_EQ(player_->CurrentFrame(), 25);

  player_->CloseMovie();
  EXPECT_EQ(player_->CurrentFrame(), 0);
  EXPECT_EQ(player_->LengthMs(), 0);
}

TEST_F(SimMoviePlayerTest, PlaysWithTheClockStopsWhereItIsAndEndsOnceAtTheLastFrame) {
  ASSERT_TRUE(Ok(player_->OpenMovie(path_)));
  player_->PlayMovie();
  loop_.AdvanceBy(350);
  EXPECT_EQ(player_->CurrentFrame(), 4);
  player_->StopMovie();
  loop_.AdvanceBy(1000);
  EXPECT_EQ(player_->CurrentFrame(), 4);

  // A seek while playing plays on from there: the end comes from the new place, not the old.
  player_->PlayMovie();
  loop_.AdvanceBy(1000);
  player_->SeekFrame(1);
  loop_.AdvanceBy(2000);
  EXPECT_TRUE(player_->Playing());
  EXPECT_EQ(ends_, 0);
  loop_.AdvanceBy(500);
  EXPECT_FALSE(player_->Playing());
  EXPECT_EQ(player_->CurrentFrame(), 25);
  EXPECT_EQ(ends_, 1);
}

TEST_F(SimMoviePlayerTest, AnEndScheduledBeforeACloseOrTheEndOfThePlayerReachesNobody) {
  ASSERT_TRUE(Ok(player_->OpenMovie(path_)));
  player_->SeekFrame(25);
  player_->PlayMovie();
  player_->CloseMovie();
  loop_.AdvanceBy(500);
  EXPECT_EQ(ends_, 0);

  ASSERT_TRUE(Ok(player_->OpenMovie(path_)));
  player_->SeekFrame(25);
  player_->PlayMovie();
  loop_.AdvanceBy(50);
  loop_.Schedule(loop_.NowMs() + 50, SimEventLoop::WorkKind::BackEnd, [this] { player_.reset(); });
  loop_.AdvanceBy(500);
  EXPECT_EQ(ends_, 0);
}

}  // namespace
}  // namespace zr::platform::sim
