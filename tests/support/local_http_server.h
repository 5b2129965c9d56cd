#pragma once
// A small HTTP server on 127.0.0.1 (an ephemeral port) for the tests of the IP camera, the
// network stream and the HTTP client: it plays a snapshot camera or a Motion JPEG camera, serves
// files, takes connections and never answers, or takes none at all. It runs on threads of its
// own from construction to Stop (or destruction).
//
// Every answering server (Snapshot, Mjpeg, Files) answers every path; the mode only chooses the
// address Url() gives:
//   /snapshot.jpg      one JPEG picture per request (image/jpeg, with Content-Length)
//   /video.mjpg        multipart/x-mixed-replace, one JPEG picture per part, at
//                      frames_per_second, until stopped or frames_per_stream pictures
//   /file/<name>       the bytes of <folder>/<name>, for movies
//   /page.html         a small text/html page: something that is not a camera
//   /close-delimited   a text/plain body without Content-Length, ended by closing
//   /redirect/<path>   302 to /<path>
//   /loop              302 to itself
//   anything else      404 Not Found
//
// Pictures are 160x120. Picture n (counted over the whole server, snapshots and streams alike,
// from 0) is one colour that encodes n, under a white band across its top eighth; FrameNumberIn
// reads n back from a decoded picture and checks the band is at the top.

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
    Silent,    // takes connections into its queue and never answers; Url(): /snapshot.jpg
    // Takes no connections: its queue is kept full, so connecting hangs until the caller's
    // connect timeout (a camera switched off behind a router). Url(): /snapshot.jpg
    Unreachable,
  };

  struct Options {
    double frames_per_second = 25;  // of the Motion JPEG stream
    int frames_per_stream = 0;      // a stream closes after this many pictures; 0: never
    bool part_lengths = true;       // stream parts carry Content-Length
    // The boundary as the Content-Type announces it. One that starts with "--" is sent as it
    // is, the way some cameras do; any other gets the usual "--" before it.
    std::string boundary = "zrframe";
    std::filesystem::path folder = {};  // what /file/ serves
    // A camera on a line that gives out, or one that holds its client: what trickles is sent a
    // byte at a time, `byte_pause` apart. Answers trickle from their first byte; pictures trickle
    // each snapshot's body and each part of a stream, after a head sent whole.
    enum class Trickle { Nothing, Answers, Pictures } trickle = Trickle::Nothing;
    std::chrono::milliseconds byte_pause{20};
  };

  LocalHttpServer(Mode mode, Options options);
  explicit LocalHttpServer(Mode mode) : LocalHttpServer(mode, Options()) {}
  ~LocalHttpServer();
  LocalHttpServer(const LocalHttpServer&) = delete;
  LocalHttpServer& operator=(const LocalHttpServer&) = delete;

  // "http://127.0.0.1:<port>" and the path; Url() is the mode's main address.
  std::string Url(std::string_view path) const;
  std::string Url() const;
  // Refuses new connections at once and breaks off the open ones within a moment. Harmless twice.
  void Stop();

  int Requests() const;             // requests read
  std::string LastRequest() const;  // the head of the last request read, as it came

  // The number of the server's picture this is (modulo 512), or nothing when it is not one of
  // them, or is upside down.
  static std::optional<int> FrameNumberIn(const platform::Picture& picture);

 private:
  struct State;
  std::unique_ptr<State> state_;
};

// A sink for tests of frame sources: keeps every frame and the end, and waits for them. Only the
// last `keep_pictures` frames keep their pictures, as a consumer that lets go of them does.
class CollectingSink final : public platform::linux_impl::FrameSink {
 public:
  explicit CollectingSink(std::size_t keep_pictures = SIZE_MAX) : keep_pictures_(keep_pictures) {}

  void OnFrame(const platform::linux_impl::CapturedFrame& frame) override {
    std::lock_guard lock(mutex_);
    called_after_end_ = called_after_end_ || end_.has_value();
    frames_.push_back(frame);
    if (frames_.size() > keep_pictures_) frames_[frames_.size() - keep_pictures_ - 1].picture.reset();
    changed_.notify_all();
  }
  void OnSourceEnded(const std::string& message) override {
    std::lock_guard lock(mutex_);
    called_after_end_ = called_after_end_ || end_.has_value();
    end_ = message;
    changed_.notify_all();
  }

  // True once `count` frames have arrived; false when `timeout` passed first.
  bool WaitForFrames(std::size_t count, std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    return changed_.wait_for(lock, timeout, [&] { return frames_.size() >= count; });
  }
  // The source's end message; nothing when it did not end within `timeout`.
  std::optional<std::string> WaitForEnd(std::chrono::milliseconds timeout) {
    std::unique_lock lock(mutex_);
    changed_.wait_for(lock, timeout, [&] { return end_.has_value(); });
    return end_;
  }

  std::vector<platform::linux_impl::CapturedFrame> Frames() const {
    std::lock_guard lock(mutex_);
    return frames_;
  }
  std::size_t FrameCount() const { return Frames().size(); }
  // Whether the source called anything after it said it had ended (it must not).
  bool CalledAfterEnd() const {
    std::lock_guard lock(mutex_);
    return called_after_end_;
  }

 private:
  const std::size_t keep_pictures_;
  mutable std::mutex mutex_;
  std::condition_variable changed_;
  std::vector<platform::linux_impl::CapturedFrame> frames_;
  std::optional<std::string> end_;
  bool called_after_end_ = false;
};

}  // namespace zr::testing
