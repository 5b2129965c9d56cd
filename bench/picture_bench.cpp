// Pictures of a 1920x1080 frame of the built-in camera:
//  - JPEG writing against the cjpeg tool on the same pixels (CPU time per picture, as a ratio;
//    the tool's time includes starting and reading its input, which is what a user scripting it
//    would pay);
//  - the overlay of an insertion file of ten text elements with their macros, read anew for
//    every frame as the program does (target under 2 ms a frame);
//  - BMP writing against writing the same number of bytes straight to the file (disk speed).
//
// Usage: picture_bench [PICTURES]   (default 50)

#include <sys/resource.h>
#include <unistd.h>

#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <string>

#include "bench/bench_support.h"
#include "image/bmp.h"
#include "image/insertion_file.h"
#include "image/insertion_overlay.h"
#include "image/jpeg_file.h"
#include "platform/linux/headless_services.h"
#include "platform/linux/test_camera.h"

namespace {

using Clock = std::chrono::steady_clock;

double Seconds(Clock::time_point since) { return std::chrono::duration<double>(Clock::now() - since).count(); }

zr::InsertionLayout TenElements() {
  zr::InsertionLayout layout;
  for (int line = 0; line < 10; ++line) {
    zr::InsertionText element;
    element.x_thousandths = 20;
    element.y_thousandths = 20 + line * 95;
    element.text_colour = 0xFFFFFF;
    element.background_colour = 0x000000;
    element.opaque = line % 2 == 0;
    element.text = "Camera " + std::to_string(line + 1) + " %dd/%MM/%yyyy %hh:%mm:%ss";
    layout.push_back(element);
  }
  return layout;
}

}  // namespace

int main(int argc, char** argv) {
  using namespace zr;
  const int pictures = argc > 1 ? std::max(1, std::atoi(argv[1])) : 50;
  const std::filesystem::path folder =
      std::filesystem::temp_directory_path() / ("zr-picture-bench-" + std::to_string(getpid()));
  std::filesystem::create_directories(folder);

  platform::Picture frame;
  platform::linux_impl::TestPattern(1920, 1080, 128, 128).Render(123, 4'100'000, 30, frame);
  const std::string bmp = (folder / "frame.bmp").string();
  WriteBmpFile(frame, bmp);

  // JPEG
  const std::string jpeg = (folder / "frame.jpg").string();
  double cpu = bench::CpuSeconds(RUSAGE_SELF);
  for (int n = 0; n < pictures; ++n) (void)WriteJpegFile(frame, jpeg, 90);
  const double ours_ms = (bench::CpuSeconds(RUSAGE_SELF) - cpu) * 1000 / pictures;
  const double children = bench::CpuSeconds(RUSAGE_CHILDREN);
  const std::string command = "cjpeg -quality 90 -outfile '" + (folder / "tool.jpg").string() + "' '" + bmp + "'";
  bool tool_ran = true;
  for (int n = 0; n < pictures && tool_ran; ++n) tool_ran = std::system(command.c_str()) == 0;
  const double tool_ms = (bench::CpuSeconds(RUSAGE_CHILDREN) - children) * 1000 / pictures;

  // Overlay, the file read for every frame
  const std::string insertion = (folder / "ten.iif").string();
  (void)WriteInsertionFile(insertion, TenElements());
  platform::linux_impl::LocalWallClock clock;
  auto renderer = TextRenderer::Open(InsertionFont());
  double overlay_ms = -1;
  if (renderer) {
    ImageDrawing drawing;
    drawing.picture = frame;
    const auto started = Clock::now();
    for (int n = 0; n < pictures; ++n) {
      PrepareImageDrawing(drawing);
      DrawInsertionFile(drawing, insertion, clock, *renderer);
    }
    overlay_ms = Seconds(started) * 1000 / pictures;
  }

  // BMP against the same bytes written straight
  auto started = Clock::now();
  for (int n = 0; n < pictures; ++n) WriteBmpFile(frame, bmp);
  const double bmp_ms = Seconds(started) * 1000 / pictures;
  const auto bytes = std::filesystem::file_size(bmp);
  started = Clock::now();
  for (int n = 0; n < pictures; ++n) {
    std::ofstream raw(folder / "raw.bin", std::ios::binary | std::ios::trunc);
    raw.write(reinterpret_cast<const char*>(frame.bottom_up_bgr.data()), static_cast<std::streamsize>(bytes - 54));
  }
  const double raw_ms = Seconds(started) * 1000 / pictures;

  std::printf("pictures of a 1920x1080 frame, %d each\n", pictures);
  std::printf("  JPEG, quality 90      %.2f ms CPU a picture", ours_ms);
  if (tool_ran && tool_ms > 0)
    std::printf("; cjpeg %.2f ms; ratio %.2f\n", tool_ms, ours_ms / tool_ms);
  else
    std::printf("; cjpeg could not run (package libjpeg-turbo-progs)\n");
  std::printf("  overlay, ten texts    %.3f ms a frame       (target under 2 ms)\n", overlay_ms);
  std::printf("  BMP, %.1f MB           %.2f ms; the bytes written straight %.2f ms; ratio %.2f\n",
              static_cast<double>(bytes) / 1e6, bmp_ms, raw_ms, bmp_ms / raw_ms);
  std::filesystem::remove_all(folder);
  return overlay_ms >= 0 && overlay_ms < 2.0 ? 0 : 1;
}
