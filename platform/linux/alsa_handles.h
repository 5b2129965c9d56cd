#pragma once
// What the ALSA users share: the owner of an open PCM, and a guard that keeps ALSA's own
// complaints off the terminal while a failure comes back to us as a value anyway.

// alsa-lib declares its per-thread error handler outside its own extern "C" block.
extern "C" {
#include <alsa/asoundlib.h>
}

#include <cstdarg>
#include <memory>

namespace zr::platform::linux_impl {

struct PcmCloser {
  void operator()(snd_pcm_t* pcm) const { snd_pcm_close(pcm); }
};
using PcmHandle = std::unique_ptr<snd_pcm_t, PcmCloser>;

// On this thread, for the life of this object, ALSA's messages go nowhere. (The handler is
// per thread: other threads keep theirs.)
class QuietAlsaErrors {
 public:
  QuietAlsaErrors() : previous_(snd_lib_error_set_local(&Discard)) {}
  ~QuietAlsaErrors() { snd_lib_error_set_local(previous_); }
  QuietAlsaErrors(const QuietAlsaErrors&) = delete;
  QuietAlsaErrors& operator=(const QuietAlsaErrors&) = delete;

 private:
  static void Discard(const char*, int, const char*, int, const char*, va_list) {}
  snd_local_error_handler_t previous_;
};

}  // namespace zr::platform::linux_impl
