// The DV export's own thread: the whole movie ends in the file with the position at the movie's
// length and the end told on the loop; a stop keeps the frames so far and tells no end.

#include "platform/linux/dv_stream_file.h"

#include <gtest/gtest.h>

#include "base/program_error.h"
#include "platform/linux/poll_event_loop.h"
#include "tests/support/movie_probe.h"
#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

using zr::testing::ProbeStream;
using zr::testing::RunCommand;

TEST(ThreadedDvExportTest, WritesTheWholeMovieOrStopsWhereAsked) {
  zr::testing::TemporaryFolder folder;
  const std::string movie = folder.File("tape.avi");
  RunCommand("ffmpeg -v error -f lavfi -i testsrc2=size=64x48:rate=25 -frames:v 100 -c:v mjpeg '" + movie + "'");
  PollEventLoop loop;
  for (const bool stopped : {false, true}) {
    ThreadedDvExport exporting(loop, movie);
    EXPECT_EQ(exporting.LengthMs(), 4000);
    bool finished = false;
    exporting.Start([&finished] { finished = true; });
    // Stopped at once, the thread is still opening the movie or on its first frames.
    if (stopped)
      exporting.Stop();
    else
      loop.RunModal([&] { return finished; });
    loop.Yield();
    EXPECT_EQ(finished, !stopped);
    EXPECT_EQ(exporting.PositionMs() == 4000, !stopped);
    const auto frames = std::stoi(ProbeStream(exporting.Target(), 'v', "nb_read_frames")["nb_read_frames"]);
    if (stopped)
      EXPECT_LT(frames, 100);
    else
      EXPECT_EQ(frames, 100);
  }
  EXPECT_THROW({ ThreadedDvExport unreadable(loop, folder.File("none.avi")); }, DeviceError);
}

}  // namespace
}  // namespace zr::platform::linux_impl
