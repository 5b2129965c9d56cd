// The movie window's long tools as the operator follows them in the status line: every text in
// its order while frames are saved, the JPEG quality of the saved frames, a cancel in the middle
// of either tool, and the close refused while a recompression holds the window.

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <functional>
#include <string>
#include <vector>

#include "apps/scenario/world.h"
#include "core/main_window.h"
#include "image/jpeg_file.h"
#include "image/picture_writer.h"
#include "movie/movie_viewer.h"

namespace zr {
namespace {

namespace fs = std::filesystem;
using platform::FileDialogKind;

constexpr int kFrames = 12;

class MovieViewerTools : public ::testing::Test {
 protected:
  void SetUp() override {
    world_.Start();
    movie_ = world_.TempFolder() + "clip.avi";
    WriteMovie(movie_, kFrames);
    viewer_ = &OpenMovieInNewViewer(world_.program(), movie_);
    world_.program().MainWindow().StatusString.Caption.OnChange([this] {
      statuses_.push_back(world_.program().MainWindow().StatusString.Caption.get());
      if (on_status_) on_status_(statuses_.back());
    });
  }

  // `frames` frames of 32 x 16, each a colour of its own, with a sound track.
  void WriteMovie(const std::string& path, int frames) {
    platform::MovieFormat format;
    format.width = 32;
    format.height = 16;
    format.frames_per_second = 10;
    format.audio = platform::AudioFormat{8000, 1, 16};
    auto writer = world_.movies.OpenWriter(path, format);
    ASSERT_TRUE(writer);
    for (int index = 0; index < frames; ++index) {
      auto picture = platform::Picture::Blank(32, 16);
      for (std::size_t at = 0; at < picture.bottom_up_bgr.size(); ++at)
        picture.bottom_up_bgr[at] = static_cast<std::uint8_t>(index * 19 + static_cast<int>(at % 7) * 30);
      ASSERT_TRUE((*writer)->WriteVideoFrame(picture.View()));
      ASSERT_TRUE((*writer)->WriteAudio(std::vector<std::uint8_t>(1600, 0x10)));
    }
    ASSERT_TRUE((*writer)->Close());
  }

  void SaveFramesAs(const std::string& name) {
    world_.dialogs.QueueFileAnswer(FileDialogKind::Save, std::vector<std::string>{name});
    viewer_->Mastertoolbar.ClickButton(viewer_->Mastertoolbar.Button("extractall"));
  }

  scenario::World world_;
  std::string movie_;
  MovieViewer* viewer_ = nullptr;
  std::vector<std::string> statuses_;
  std::function<void(const std::string&)> on_status_;
};

TEST_F(MovieViewerTools, SavingTellsEachFrameInTheMoviesOrderAndEndsInDone) {
  SaveFramesAs(world_.TempFolder() + "shots.bmp");
  // The numbers are formatted "#", which shows nothing for 0.
  std::vector<std::string> expected{"Saving  of 11 frames"};
  for (int frame = 1; frame < kFrames; ++frame)
    expected.push_back("Saving " + std::to_string(frame) + " of " + std::to_string(kFrames - 1) + " frames");
  expected.push_back("Done");
  EXPECT_EQ(statuses_, expected);
}

TEST_F(MovieViewerTools, SavedJpegFramesAreCodedAtTheApplicationsQuality) {
  auto frames = world_.movies.OpenFrameReader(movie_);
  ASSERT_TRUE(frames);
  auto fifth = (*frames)->ReadFrame(5);
  ASSERT_TRUE(fifth);
  for (const int quality : {15, 90}) {
    world_.program().state.JpegQuality = quality;
    const std::string base = world_.TempFolder() + "q" + std::to_string(quality);
    SaveFramesAs(base + ".jpg");
    const auto coded = CodeJpeg(**fifth, quality);
    ASSERT_TRUE(coded);
    EXPECT_EQ(fs::file_size(base + "_Frame_000005.jpg"), coded->size()) << quality;
  }
}

TEST_F(MovieViewerTools, AFileThatIsNoMovieSaysSoForAMomentBeforeDone) {
  std::ofstream(world_.TempFolder() + "text.avi") << "not a movie";
  viewer_->filename = world_.TempFolder() + "text.avi";
  SaveFramesAs(world_.TempFolder() + "shots.bmp");
  EXPECT_EQ(statuses_, (std::vector<std::string>{"Error Extracting Image", "Done"}));
  EXPECT_FALSE(fs::exists(world_.TempFolder() + "shots_Frame_000000.bmp"));
}

TEST_F(MovieViewerTools, ACancelledSavingLeavesWholePicturesOfTheFramesBeforeIt) {
  on_status_ = [this](const std::string& status) {
    if (status.starts_with("Saving 3 ")) viewer_->WorkCancel.Click();
  };
  SaveFramesAs(world_.TempFolder() + "shots.bmp");
  EXPECT_EQ(statuses_.back(), "Done");
  const std::string base = world_.TempFolder() + "shots";
  for (int frame = 0; frame <= 3; ++frame)
    EXPECT_TRUE(LoadPictureFile(platform::FrameFileName(base, frame, platform::FrameFileKind::Bitmap))) << frame;
  EXPECT_FALSE(fs::exists(platform::FrameFileName(base, 4, platform::FrameFileKind::Bitmap)));
  for (const auto& entry : fs::directory_iterator(world_.TempFolder()))
    EXPECT_FALSE(entry.path().filename().string().ends_with(".part")) << entry.path();
}

TEST_F(MovieViewerTools, ARecompressionHoldsBothWindowsAndRefusesTheClose) {
  bool held = false;
  on_status_ = [&](const std::string& status) {
    if (status != "50%") return;
    EXPECT_FALSE(viewer_->Enabled.get());
    EXPECT_FALSE(world_.program().MainWindow().Enabled.get());
    EXPECT_EQ(world_.program().MainWindow().MousePointer.get(), ui::Window::kHourglass);
    EXPECT_FALSE(viewer_->QueryUnload(ui::UnloadMode::CloseBox));
    held = true;
  };
  const std::string target = world_.TempFolder() + "new.avi";
  world_.dialogs.QueueFileAnswer(FileDialogKind::Save, std::vector<std::string>{target});
  viewer_->Mastertoolbar.ClickButton(viewer_->Mastertoolbar.Button("recompress"));
  EXPECT_TRUE(held);
  EXPECT_EQ(statuses_.back(), "Recompressed");
  EXPECT_TRUE(viewer_->Enabled.get());
  EXPECT_TRUE(fs::exists(world_.TempFolder() + "new.wav"));
}

TEST_F(MovieViewerTools, ACancelledRecompressionLeavesAMovieThatPlaysAndTheWindowsName) {
  on_status_ = [this](const std::string& status) {
    if (status == "25%") viewer_->WorkCancel.Click();
  };
  const std::string target = world_.TempFolder() + "new.avi";
  world_.dialogs.QueueFileAnswer(FileDialogKind::Save, std::vector<std::string>{target});
  viewer_->Mastertoolbar.ClickButton(viewer_->Mastertoolbar.Button("recompress"));
  EXPECT_EQ(statuses_.back(), "Cancelled.");
  EXPECT_EQ(viewer_->filename, movie_);
  EXPECT_EQ(viewer_->Caption.get(), "clip.avi");
  const auto written = world_.movies.ReadInfo(target);
  ASSERT_TRUE(written);
  EXPECT_GT(written->frame_count, 0);
  EXPECT_LT(written->frame_count, kFrames);
  auto frames = world_.movies.OpenFrameReader(target);
  ASSERT_TRUE(frames);
  EXPECT_TRUE((*frames)->ReadFrame(written->frame_count - 1));
  EXPECT_FALSE(fs::exists(world_.TempFolder() + "new.wav"));
}

}  // namespace
}  // namespace zr
