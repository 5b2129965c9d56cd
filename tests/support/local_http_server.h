#pragma once
// A small HTTP server on 127.0.0.1 (an ephemeral port) for the tests of the IP camera, the
// network stream and the HTTP client: it plays a snapshot camera or a Motion JPEG camera,
// serves files, or takes connections and never answers. It runs on threads of its own from
// construction to Stop (or destruction).
//
//   LocalHttpServer::Options options;
//   options.frames_per_second = 10;
//   LocalHttpServer camera(LocalHttpServer::Mode::Mjpeg, options);
//   auto source = MakeIpCameraSource(camera.Url());          // http://127.0.0.1:port/video.mjpg
//   ...
//   camera.Stop();                                            // the camera is gone
//
// Every answering server (Snapshot, Mjpeg, Files) answers every path; the mode only chooses the
// address Url() gives:
//   /snapshot.jpg          one JPEG picture per request (image/jpeg, with Content-Length)
//   /video.mjpg            multipart/x-mixed-replace, one JPEG picture per part, at
//                          frames_per_second, until stopped or frames_per_stream pictures
//   /file/<name>           the bytes of <folder>/<name> (byte ranges too), for movies
//   /page.html             a small text/html page: something that is not a camera
//   /close-delimited       a text/plain body without Content-Length, ended by closing
//   /redirect/<n>/<path>   302 to /redirect/<n-1>/<path>, and /redirect/0/<path> to /<path>
//   anything else          404 Not Found
// A query ("?…") after the path is ignored. With credentials set, a request without them is
// answered 401 Unauthorized.
//
// Pictures: picture n (counted over the whole server, snapshots and streams alike, from 0) is
// FrameColour(n) all over, except a white band across its top eighth; FrameNumberIn reads n
// back from a decoded picture and also checks the band is at the top.
//
// Threads: the server is driven from the test's thread; the static picture helpers and the
// CollectingSink below may be used from any.

#include <chrono>
#include <condition_variable>
#include <cstdint>
#include <filesystem>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

#include "platform/linux/frame_source.h"
#include "platform/picture.h"

namespace zr::testing {

class LocalHttpServer {
 public:
  enum class Mode {
    Snapshot,  // Url(): /snapshot.jpg
    Mjpeg,     // Url(): /video.mjpg
    Files,     // Url(): /file/
    Silent,    // takes connections and never answers; Url(): /snapshot.jpg
    // Takes no connections: its queue is kept full, so connecting hangs until the caller's
    // connect timeout (a camera switched off behind a router). Url(): /snapshot.jpg
    Unreachable,
  };

  // Every member has a default, so designated initializers may name any of them:
  // LocalHttpServer::Options{.frames_per_second = 10, .frames_per_stream = 3}.
  struct Options {
    int width = 160;
    int height = 120;
    double frames_per_second = 25;  // of the Motion JPEG stream
    int frames_per_stream = 0;      // a stream closes after this many pictures; 0: never
    bool part_lengths = true;       // stream parts carry Content-Length
    // The boundary as the Content-Type announces it. One that starts with "--" is sent as it
    // is, the way some cameras do; any other gets the usual "--" before it.
    std::string boundary = "zrframe";
    std::string credentials = "";       // "user:password" that requests must carry; empty for none
    std::filesystem::path folder = {};  // what /file/ serves
  };

  struct Colour {
    std::uint8_t blue, green, red;
  };

  explicit LocalHttpServer(Mode mode, Options options);
  explicit LocalHttpServer(Mode mode) : LocalHttpServer(mode, Options()) {}
  ~LocalHttpServer();
  LocalHttpServer(const LocalHttpServer&) = delete;
  LocalHttpServer& operator=(const LocalHttpServer&) = delete;

  int Port() const;
  // "http://127.0.0.1:<port>" and the path; Url() is the mode's main address.
  std::string Url(std::string_view path) const;
  std::string Url() const;

  // Ends every connection now open at once (streams break off mid-way); keeps listening.
  void StopStreaming();
  // From now on nothing more is sent: streams hang, new requests get no answer.
  void Silence();
  // Ends everything; later connections are refused. Harmless twice.
  void Stop();

  int PicturesSent() const;         // snapshots and stream parts
  int Requests() const;             // requests read
  std::string LastRequest() const;  // the head of the last request read, as it came

  static Colour FrameColour(int number);
  // The number of the server's picture this is (modulo 512), or nothing when it is not one of
  // them, or is upside down.
  static std::optional<int> FrameNumberIn(const platform::Picture& picture);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// A sink for tests of frame sources: keeps every frame and the end, and waits for them.
class CollectingSink final : public platform::linux_impl::FrameSink {
 public:
  void OnFrame(const platform::linux_impl::CapturedFrame& frame) override;
  void OnSourceEnded(const std::string& message) override;

  // True once `count` frames have arrived; false when `timeout` passed first.
  bool WaitForFrames(std::size_t count, std::chrono::milliseconds timeout);
  // The source's end message; nothing when it did not end within `timeout`.
  std::optional<std::string> WaitForEnd(std::chrono::milliseconds timeout);

  std::vector<platform::linux_impl::CapturedFrame> Frames() const;
  std::size_t FrameCount() const;
  // Whether the source called anything after it said it had ended (it must not).
  bool CalledAfterEnd() const;

 private:
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<platform::linux_impl::CapturedFrame> frames_;
  std::optional<std::string> end_;
  bool called_after_end_ = false;
};

}  // namespace zr::testing
