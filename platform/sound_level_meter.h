#pragma once
// The sound level meter the sound trigger listens with: the sound inputs of the machine, and
// listening on one of them with a listener that hears the level of each block of sound, from 0
// (silence) to 100 (full scale), on the logic thread.
//
// Threads: every call on the logic thread, each returning at once. The listener runs on the
// logic thread, from events the meter posts to the loop; after Stop (or a new Listen) returns,
// it is not called again, not even by reports already posted.

#include <cstdint>
#include <functional>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include "base/result.h"
#include "platform/event_loop.h"
#include "platform/movie_file.h"

namespace zr::platform {

// What a listening reports: the level of each block, and the end of an input that stopped by
// itself (a device gone), with why.
struct LevelListener {
  std::function<void(int level)> level;
  std::function<void(const std::string& why)> ended;
};

class SoundLevelMeter {
 public:
  virtual ~SoundLevelMeter() = default;  // stops listening
  // The inputs there are, by the names the operator knows them by, in a stable order.
  virtual std::vector<std::string> Inputs() = 0;
  // Listens on input `index` (from 0), ending any listening before; the error says why the
  // input cannot be listened to.
  virtual Result<void> Listen(int index, LevelListener listener) = 0;
  // Harmless when not listening.
  virtual void Stop() = 0;
};

// What a meter that posts shares: each listening gets a poster, callable from any thread, that
// hands a level to the listener through the loop. A level posted under a listening that has
// ended reaches nobody.
class LevelPosting {
 public:
  // Hands the reports of one listening to the loop; copies may go to any thread.
  class Poster {
   public:
    Poster(EventLoop& loop, std::weak_ptr<LevelListener> listening) : loop_(&loop), listening_(std::move(listening)) {}
    void Level(int level) const;
    void Ended(const std::string& why) const;

   private:
    EventLoop* loop_;
    std::weak_ptr<LevelListener> listening_;
  };

  explicit LevelPosting(EventLoop& loop) : loop_(loop) {}
  // Ends the listening before and begins one with `listener`.
  Poster Begin(LevelListener listener);
  void End() { listening_.reset(); }
  bool Listening() const { return listening_ != nullptr; }

 private:
  EventLoop& loop_;
  std::shared_ptr<LevelListener> listening_;
};

// The meter's level of a block of sound: the peak of the samples of every channel, linear, as
// a share of full scale from 0 to 100. `pcm` holds whole sample frames in `format` (8-bit
// unsigned or 16-bit signed little-endian, channels interleaved).
int PeakLevel(std::span<const std::uint8_t> pcm, const AudioFormat& format);

// Cuts a stream of sound into blocks of 20 ms and tells the level of each whole block, whatever
// the sizes of the pieces the stream comes in.
class LevelBlocks {
 public:
  static constexpr int kBlockMs = 20;
  explicit LevelBlocks(const AudioFormat& format);
  // Runs `block_level` for each block the piece completes, in order.
  void Add(std::span<const std::uint8_t> pcm, const std::function<void(int level)>& block_level);

 private:
  AudioFormat format_;
  std::size_t block_bytes_;
  int peak_ = 0;            // of the block under way
  std::size_t filled_ = 0;  // bytes of the block under way
};

}  // namespace zr::platform
