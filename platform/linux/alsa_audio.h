#pragma once
// Sound capture from the ALSA devices of the machine.
//
// The listing probes every card for devices that record; ALSA's own complaints while probing
// or opening are kept off the terminal (the failures come back as values). A source opens its
// PCM through the "plughw" layer, so ALSA converts most formats itself; a PCM that still cannot
// record in the format asked records in the nearest it offers, converted by a SoundConverter
// before the sink sees it. It reads on a thread of its own with a bounded wait, so Stop never
// hangs on a silent device, recovers from overruns and reports a device that went away.
//
// The inputs of a source are the capture elements of its card's mixer (those with a capture
// switch or a capture volume); a device without a mixer has the one input "Capture".

#include <memory>
#include <string>
#include <vector>

#include "platform/linux/audio_source.h"

namespace zr::platform::linux_impl {

struct AlsaCaptureDevice {
  std::string name;        // for the operator: "HDA Intel PCH: ALC892 Analog (hw:0,0)"
  std::string pcm_name;    // what ALSA opens: "plughw:CARD=PCH,DEV=0"; any PCM name will do
  std::string mixer_name;  // the card's control device, "hw:CARD=PCH"; empty for no mixer
};

// The devices that record, card by card; empty on a machine without sound cards.
std::vector<AlsaCaptureDevice> ListAlsaCaptureDevices();

// A source on `device`. Nothing is opened until Start but the mixer; a PCM name that does not
// exist gives an Error from Start.
std::unique_ptr<AudioSource> MakeAlsaAudioSource(const AlsaCaptureDevice& device);

}  // namespace zr::platform::linux_impl
