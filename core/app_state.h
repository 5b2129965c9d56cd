#pragma once
// The application state: one flat record that every window, timer and capture callback reads
// and writes directly. The comments name who writes each member; the start values are the
// declared ones, later replaced by start-up, the main window's load and the parameter file.

#include <array>
#include <cstdint>
#include <optional>
#include <string>

#include "platform/capture_records.h"

namespace zr {

using Boolean = std::int16_t;  // the program's Boolean: -1 true, 0 false
constexpr Boolean True = -1;
constexpr Boolean False = 0;

struct AppState {
  // ---- operating state
  std::string CaptureType = "movie";  // "movie", "image", "multiple", "avibuilder", "webshare"
  std::string CaptureFilename;        // target of the next recording or base of a series
  std::string AppPath;                // program folder, with its trailing separator
  std::string ProductSite;            // the product's web address
  Boolean Exiting = False;
  Boolean IsWindowsAfter2000 = False;
  std::int16_t PreviewRate = 0;        // preview frames per second
  double MovieFrameRate = 0;           // frames per second of a movie, four decimals
  std::int32_t FramesPerSecond = 0;    // display rate of the current run
  std::int32_t ImageCount = 0;         // pictures taken in the current series
  std::int32_t ImageCounterStart = 0;  // first number of numbered file names
  std::string ImageCounterFormat = "#000000";
  std::optional<double> ShotInterval;  // seconds between shots in timer mode; empty at start
  std::int32_t ShotElapsed = 0;
  Boolean MotionWasRunning = False;
  Boolean MotionRecordArmed = False;
  std::int16_t MotionSensitivity = 0;
  double MotionAverage = 0;   // the motion detector's mean of its last tick
  double MotionBaseline = 0;  // the mean of the tick before; 0 while there is none
  std::int16_t AutostartHours = 0;
  std::int16_t AutostartMinutes = 0;
  std::int16_t AutostartSeconds = 0;
  Boolean AutostartAccepted = False;
  Boolean ViewerShown = False;
  std::int32_t LastResult = 0;  // scratch of the last call; never read later

  // ---- measurements of a running capture
  std::optional<double> FreeBytesAtStart;  // variants: empty until the first run
  std::optional<double> FreeBytesLatest;
  float BytesPerRun = 0;

  // ---- settings mirrored in memory
  std::string PopupMovieViewer;  // "1"/"0"
  std::string AutoPlay;          // "1"/"0"
  std::string ShutterSound;      // "1"/"0"
  std::int32_t JpegQuality = 0;
  std::string InsertionFile;

  // ---- capture driver records
  CAPSTATUS CapStatus;
  CAPDRIVERCAPS CapDriverCaps;
  CAPTUREPARMS CaptureParms;
  WAVEFORMATEX WaveFormat;
  std::uint32_t hCapWnd = 0;         // non-zero while a capture window exists
  CaptureStatusWords captureStatus;  // CaptureStatusId, CaptureStatusText, CaptureEnded

  // ---- information texts and network settings
  std::array<std::string, 6> AviInfoText;  // copyright, artist, subject, product, source, comments
  std::string FtpHost;
  std::string FtpUser;
  std::string FtpPassword;
  std::string FtpFolder;
  std::int16_t FtpPort = 0;
};

}  // namespace zr
