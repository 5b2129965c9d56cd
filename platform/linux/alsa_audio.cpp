#include "platform/linux/alsa_audio.h"

#include <atomic>
#include <cerrno>
#include <optional>
#include <span>
#include <thread>
#include <utility>

#include "platform/linux/alsa_handles.h"
#include "platform/linux/sound_converter.h"

namespace zr::platform::linux_impl {
namespace {

// ---- Ownership of ALSA objects --------------------------------------------------------------

struct ControlCloser {
  void operator()(snd_ctl_t* control) const { snd_ctl_close(control); }
};
struct MixerCloser {
  void operator()(snd_mixer_t* mixer) const { snd_mixer_close(mixer); }
};
struct CardInfoFreer {
  void operator()(snd_ctl_card_info_t* info) const { snd_ctl_card_info_free(info); }
};
struct PcmInfoFreer {
  void operator()(snd_pcm_info_t* info) const { snd_pcm_info_free(info); }
};
struct HardwareParamsFreer {
  void operator()(snd_pcm_hw_params_t* params) const { snd_pcm_hw_params_free(params); }
};
struct ElementIdFreer {
  void operator()(snd_mixer_selem_id_t* id) const { snd_mixer_selem_id_free(id); }
};

using ControlHandle = std::unique_ptr<snd_ctl_t, ControlCloser>;
using MixerHandle = std::unique_ptr<snd_mixer_t, MixerCloser>;
using CardInfo = std::unique_ptr<snd_ctl_card_info_t, CardInfoFreer>;
using PcmInfo = std::unique_ptr<snd_pcm_info_t, PcmInfoFreer>;
using HardwareParams = std::unique_ptr<snd_pcm_hw_params_t, HardwareParamsFreer>;
using ElementId = std::unique_ptr<snd_mixer_selem_id_t, ElementIdFreer>;

// ALSA's allocators report through a return code and an out parameter; these give an owner,
// empty when out of memory.
template <class Owner, class Allocator>
Owner Allocate(Allocator allocate) {
  typename Owner::pointer raw = nullptr;
  if (allocate(&raw) < 0) return Owner();
  return Owner(raw);
}

Error DeviceError(const AlsaCaptureDevice& device, const std::string& what, int code, const char* where) {
  return Error{"The sound device " + device.name + " " + what + ": " + snd_strerror(code), where};
}

// ---- The listing ----------------------------------------------------------------------------

void AddCaptureDevicesOfCard(int card, std::vector<AlsaCaptureDevice>& devices) {
  snd_ctl_t* raw_control = nullptr;
  if (snd_ctl_open(&raw_control, ("hw:" + std::to_string(card)).c_str(), 0) < 0) return;
  const ControlHandle control(raw_control);
  const auto card_info = Allocate<CardInfo>(snd_ctl_card_info_malloc);
  const auto pcm_info = Allocate<PcmInfo>(snd_pcm_info_malloc);
  if (!card_info || !pcm_info || snd_ctl_card_info(control.get(), card_info.get()) < 0) return;
  const std::string card_id = snd_ctl_card_info_get_id(card_info.get());
  const std::string card_name = snd_ctl_card_info_get_name(card_info.get());
  for (int device = -1; snd_ctl_pcm_next_device(control.get(), &device) == 0 && device >= 0;) {
    snd_pcm_info_set_device(pcm_info.get(), static_cast<unsigned>(device));
    snd_pcm_info_set_subdevice(pcm_info.get(), 0);
    snd_pcm_info_set_stream(pcm_info.get(), SND_PCM_STREAM_CAPTURE);
    if (snd_ctl_pcm_info(control.get(), pcm_info.get()) < 0) continue;  // plays only
    const std::string number = std::to_string(card) + "," + std::to_string(device);
    devices.push_back(
        AlsaCaptureDevice{card_name + ": " + snd_pcm_info_get_name(pcm_info.get()) + " (hw:" + number + ")",
                          "plughw:CARD=" + card_id + ",DEV=" + std::to_string(device), "hw:CARD=" + card_id});
  }
}

// ---- The mixer ------------------------------------------------------------------------------

// The capture elements of a card's mixer. Elements are kept by name and index and looked up
// again on each use, since the mixer may rebuild its elements when the card changes.
class CaptureMixer {
 public:
  explicit CaptureMixer(const std::string& mixer_name) {
    if (mixer_name.empty()) return;
    QuietAlsaErrors quiet;
    snd_mixer_t* raw = nullptr;
    if (snd_mixer_open(&raw, 0) < 0) return;
    MixerHandle mixer(raw);
    if (snd_mixer_attach(mixer.get(), mixer_name.c_str()) < 0 ||
        snd_mixer_selem_register(mixer.get(), nullptr, nullptr) < 0 || snd_mixer_load(mixer.get()) < 0)
      return;
    for (snd_mixer_elem_t* element = snd_mixer_first_elem(mixer.get()); element;
         element = snd_mixer_elem_next(element)) {
      if (!snd_mixer_selem_is_active(element)) continue;
      if (!snd_mixer_selem_has_capture_switch(element) && !snd_mixer_selem_has_capture_volume(element)) continue;
      auto id = Allocate<ElementId>(snd_mixer_selem_id_malloc);
      if (!id) continue;
      snd_mixer_selem_get_id(element, id.get());
      inputs_.push_back(Input{LabelOf(id.get()), std::move(id)});
    }
    mixer_ = std::move(mixer);
  }

  std::vector<std::string> Names() const {
    if (inputs_.empty()) return {"Capture"};
    std::vector<std::string> names;
    for (const Input& input : inputs_) names.push_back(input.label);
    return names;
  }
  int Count() const { return inputs_.empty() ? 1 : static_cast<int>(inputs_.size()); }

  // The first input whose capture switch is on; 0 when none is.
  int SwitchedOn() const {
    for (int index = 0; index < static_cast<int>(inputs_.size()); ++index) {
      snd_mixer_elem_t* element = Element(index);
      int on = 0;
      if (element && snd_mixer_selem_has_capture_switch(element) &&
          snd_mixer_selem_get_capture_switch(element, SND_MIXER_SCHN_FRONT_LEFT, &on) == 0 && on)
        return index;
    }
    return 0;
  }

  // Turns capture on for the input; a switch of an exclusive group turns the others off itself.
  Result<void> SwitchTo(int index) {
    snd_mixer_elem_t* element = Element(index);
    if (!element || !snd_mixer_selem_has_capture_switch(element)) return {};
    if (const int code = snd_mixer_selem_set_capture_switch_all(element, 1); code < 0)
      return Error{std::string("the input cannot be switched on: ") + snd_strerror(code),
                   "snd_mixer_selem_set_capture_switch_all"};
    return {};
  }

  // The capture volume of the input, 0 to 100; an input without a volume is at 100 when it
  // records and at 0 when it does not.
  int Level(int index) const {
    if (inputs_.empty()) return index == 0 ? 100 : 0;
    snd_mixer_elem_t* element = Element(index);
    if (!element) return 0;
    long minimum = 0, maximum = 0, volume = 0;
    if (snd_mixer_selem_has_capture_volume(element) &&
        snd_mixer_selem_get_capture_volume_range(element, &minimum, &maximum) == 0 && maximum > minimum &&
        snd_mixer_selem_get_capture_volume(element, SND_MIXER_SCHN_FRONT_LEFT, &volume) == 0)
      return static_cast<int>((volume - minimum) * 100 / (maximum - minimum));
    int on = 0;
    if (snd_mixer_selem_has_capture_switch(element) &&
        snd_mixer_selem_get_capture_switch(element, SND_MIXER_SCHN_FRONT_LEFT, &on) == 0)
      return on ? 100 : 0;
    return 0;
  }

 private:
  struct Input {
    std::string label;
    ElementId id;
  };

  static std::string LabelOf(const snd_mixer_selem_id_t* id) {
    std::string label = snd_mixer_selem_id_get_name(id);
    if (const unsigned index = snd_mixer_selem_id_get_index(id); index > 0) label += " " + std::to_string(index);
    return label;
  }

  snd_mixer_elem_t* Element(int index) const {
    if (!mixer_ || index < 0 || index >= static_cast<int>(inputs_.size())) return nullptr;
    snd_mixer_handle_events(mixer_.get());  // take in changes made by other programs
    return snd_mixer_find_selem(mixer_.get(), inputs_[static_cast<std::size_t>(index)].id.get());
  }

  MixerHandle mixer_;
  std::vector<Input> inputs_;
};

// ---- Capture --------------------------------------------------------------------------------

constexpr unsigned kPeriodUs = 20'000;    // the chunks handed to the sink
constexpr unsigned kBufferUs = 500'000;   // room for the reader to be late before an overrun
constexpr int kWaitMs = 50;               // how soon the reader notices Stop on a silent device
constexpr int kMostRecoveriesInARow = 8;  // then the device is taken as broken

bool SameFormat(const AudioFormat& a, const AudioFormat& b) {
  return a.samples_per_second == b.samples_per_second && a.channels == b.channels &&
         a.bits_per_sample == b.bits_per_sample;
}

std::optional<snd_pcm_format_t> SampleFormatOf(const AudioFormat& format) {
  if (format.bits_per_sample == 8) return SND_PCM_FORMAT_U8;
  if (format.bits_per_sample == 16) return SND_PCM_FORMAT_S16_LE;
  return std::nullopt;
}

Error OpenError(const AlsaCaptureDevice& device, int code) {
  if (code == -ENOENT || code == -ENODEV || code == -ENXIO)
    return DeviceError(device, "cannot be found", code, "snd_pcm_open");
  if (code == -EBUSY) return DeviceError(device, "is busy", code, "snd_pcm_open");
  return DeviceError(device, "cannot be opened", code, "snd_pcm_open");
}

// What the device is set to record in: `asked` when the device takes it, otherwise the nearest
// it offers (16 bits before 8, the channels and rate nearest to those asked), to be converted.
Result<AudioFormat> DeviceFormatFor(snd_pcm_t* pcm, snd_pcm_hw_params_t* params, const AudioFormat& asked,
                                    const AlsaCaptureDevice& device) {
  int code = snd_pcm_hw_params_any(pcm, params);
  if (code >= 0) code = snd_pcm_hw_params_set_access(pcm, params, SND_PCM_ACCESS_RW_INTERLEAVED);
  if (code < 0) return DeviceError(device, "cannot be set up", code, "snd_pcm_hw_params");
  const auto channels = static_cast<unsigned>(asked.channels);
  const auto rate = static_cast<unsigned>(asked.samples_per_second);
  if (snd_pcm_hw_params_test_format(pcm, params, *SampleFormatOf(asked)) == 0 &&
      snd_pcm_hw_params_test_channels(pcm, params, channels) == 0 &&
      snd_pcm_hw_params_test_rate(pcm, params, rate, 0) == 0)
    return asked;
  AudioFormat nearest;
  if (snd_pcm_hw_params_set_format(pcm, params, SND_PCM_FORMAT_S16_LE) == 0)
    nearest.bits_per_sample = 16;
  else if (snd_pcm_hw_params_set_format(pcm, params, SND_PCM_FORMAT_U8) == 0)
    nearest.bits_per_sample = 8;
  else
    return DeviceError(device, "records neither 8 nor 16 bit sound", -EINVAL, "snd_pcm_hw_params_set_format");
  unsigned near_channels = channels;
  unsigned near_rate = rate;
  code = snd_pcm_hw_params_set_channels_near(pcm, params, &near_channels);
  if (code >= 0) code = snd_pcm_hw_params_set_rate_near(pcm, params, &near_rate, nullptr);
  if (code < 0) return DeviceError(device, "does not record in this format", code, "snd_pcm_hw_params");
  nearest.channels = static_cast<int>(near_channels);
  nearest.samples_per_second = static_cast<int>(near_rate);
  return nearest;
}

// Sets the device up for `format`, with periods of about kPeriodUs; gives the period in frames.
Result<snd_pcm_uframes_t> Configure(snd_pcm_t* pcm, snd_pcm_hw_params_t* params, const AudioFormat& format,
                                    const AlsaCaptureDevice& device) {
  int code = snd_pcm_hw_params_any(pcm, params);
  if (code >= 0) code = snd_pcm_hw_params_set_access(pcm, params, SND_PCM_ACCESS_RW_INTERLEAVED);
  if (code >= 0) code = snd_pcm_hw_params_set_format(pcm, params, *SampleFormatOf(format));
  if (code >= 0) code = snd_pcm_hw_params_set_channels(pcm, params, static_cast<unsigned>(format.channels));
  if (code >= 0) code = snd_pcm_hw_params_set_rate(pcm, params, static_cast<unsigned>(format.samples_per_second), 0);
  if (code < 0) return DeviceError(device, "does not record in this format", code, "snd_pcm_hw_params");
  unsigned buffer_us = kBufferUs;
  unsigned period_us = kPeriodUs;
  code = snd_pcm_hw_params_set_buffer_time_near(pcm, params, &buffer_us, nullptr);
  if (code >= 0) code = snd_pcm_hw_params_set_period_time_near(pcm, params, &period_us, nullptr);
  if (code >= 0) code = snd_pcm_hw_params(pcm, params);
  if (code < 0) return DeviceError(device, "cannot be set up", code, "snd_pcm_hw_params");
  snd_pcm_uframes_t period_frames = 0;
  code = snd_pcm_hw_params_get_period_size(params, &period_frames, nullptr);
  if (code < 0 || period_frames == 0) return DeviceError(device, "cannot be set up", code, "snd_pcm_hw_params");
  return period_frames;
}

struct OpenCapture {
  PcmHandle pcm;
  AudioFormat recorded;  // what the device delivers; converted when it is not what was asked
  snd_pcm_uframes_t period_frames = 0;
};

Result<OpenCapture> Open(const AlsaCaptureDevice& device, const AudioFormat& format) {
  if (!SampleFormatOf(format) || format.channels < 1 || format.samples_per_second < 1)
    return Error{"sound is recorded as 8 or 16 bits, at least one channel, a rate above zero", "Start"};
  QuietAlsaErrors quiet;
  snd_pcm_t* raw = nullptr;
  // Non-blocking: a busy device says so at once, and a read never waits past what is there.
  if (const int code = snd_pcm_open(&raw, device.pcm_name.c_str(), SND_PCM_STREAM_CAPTURE, SND_PCM_NONBLOCK); code < 0)
    return OpenError(device, code);
  PcmHandle pcm(raw);
  const auto params = Allocate<HardwareParams>(snd_pcm_hw_params_malloc);
  if (!params) return Error{"out of memory", "snd_pcm_hw_params_malloc"};
  auto recorded = DeviceFormatFor(pcm.get(), params.get(), format, device);
  if (!recorded) return recorded.error();
  auto period_frames = Configure(pcm.get(), params.get(), *recorded, device);
  if (!period_frames) return period_frames.error();
  if (const int code = snd_pcm_start(pcm.get()); code < 0)
    return DeviceError(device, "cannot start recording", code, "snd_pcm_start");
  return OpenCapture{std::move(pcm), *recorded, *period_frames};
}

// Brings the device back after an overrun or a suspend; false when that cannot be done.
bool Recover(snd_pcm_t* pcm, int code) {
  if (code == -ENODEV || snd_pcm_recover(pcm, code, 1) < 0) return false;
  // A recovered device is prepared but not running; one resumed from a suspend may already run,
  // and then the start is refused harmlessly.
  snd_pcm_start(pcm);
  return true;
}

std::string EndMessage(const AlsaCaptureDevice& device, int code) {
  if (code == -ENODEV) return "The sound device " + device.name + " was unplugged";
  return "The sound device " + device.name + " stopped recording: " + snd_strerror(code);
}

class AlsaAudioSource final : public AudioSource {
 public:
  explicit AlsaAudioSource(AlsaCaptureDevice device)
      : device_(std::move(device)), mixer_(device_.mixer_name), current_input_(mixer_.SwitchedOn()) {}
  ~AlsaAudioSource() override { Stop(); }
  AlsaAudioSource(const AlsaAudioSource&) = delete;
  AlsaAudioSource& operator=(const AlsaAudioSource&) = delete;

  Result<void> Start(const AudioFormat& format, AudioSink& sink) override {
    Stop();
    auto opened = Open(device_, format);
    if (!opened) return opened.error();
    std::optional<SoundConverter> converter;
    if (!SameFormat(opened->recorded, format)) {
      auto made = SoundConverter::Make(opened->recorded, format);
      if (!made) return made.error();
      converter.emplace(std::move(*made));
    }
    pcm_ = std::move(opened->pcm);
    stop_requested_ = false;
    reader_ = std::thread([this, recorded = opened->recorded, period_frames = opened->period_frames,
                           converter = std::move(converter),
                           &sink]() mutable { Read(recorded, period_frames, converter, sink); });
    return {};
  }

  void Stop() override {
    if (!reader_.joinable()) return;
    stop_requested_ = true;
    reader_.join();
    pcm_.reset();
  }

  std::vector<std::string> Inputs() const override { return mixer_.Names(); }
  int CurrentInput() const override { return current_input_; }
  Result<void> SelectInput(int index) override {
    if (index < 0 || index >= mixer_.Count())
      return Error{"the sound device has no input " + std::to_string(index), "SelectInput"};
    if (auto switched = mixer_.SwitchTo(index); !switched) return switched;
    current_input_ = index;
    return {};
  }
  int InputLevel(int index) const override { return mixer_.Level(index); }

 private:
  // Waits at most kWaitMs at a time for a period to arrive, so that Stop is noticed even when the
  // device delivers nothing. Timestamps count the sample frames delivered.
  void Read(const AudioFormat& format, snd_pcm_uframes_t period_frames, std::optional<SoundConverter>& converter,
            AudioSink& sink) {
    QuietAlsaErrors quiet;
    const auto frame_bytes = static_cast<std::size_t>(format.channels * format.bits_per_sample / 8);
    std::vector<std::uint8_t> buffer(period_frames * frame_bytes);
    std::int64_t delivered = 0;
    int failures_in_a_row = 0;
    while (!stop_requested_) {
      const int ready = snd_pcm_wait(pcm_.get(), kWaitMs);
      if (ready == 0) continue;
      snd_pcm_sframes_t got = ready < 0 ? ready : snd_pcm_readi(pcm_.get(), buffer.data(), period_frames);
      if (got == -EAGAIN) continue;
      if (got < 0) {
        const int code = static_cast<int>(got);
        if (++failures_in_a_row > kMostRecoveriesInARow || !Recover(pcm_.get(), code)) {
          sink.OnAudioEnded(EndMessage(device_, code));
          return;
        }
        continue;
      }
      failures_in_a_row = 0;
      const std::span<const std::uint8_t> pcm(buffer.data(), static_cast<std::size_t>(got) * frame_bytes);
      const std::int64_t timestamp_us = delivered * 1'000'000 / format.samples_per_second;
      if (converter) {
        if (const auto converted = converter->Convert(pcm); !converted.empty()) sink.OnAudio(converted, timestamp_us);
      } else {
        sink.OnAudio(pcm, timestamp_us);
      }
      delivered += got;
    }
  }

  AlsaCaptureDevice device_;
  CaptureMixer mixer_;
  int current_input_;
  PcmHandle pcm_;
  std::atomic<bool> stop_requested_ = false;
  std::thread reader_;
};

}  // namespace

std::vector<AlsaCaptureDevice> ListAlsaCaptureDevices() {
  QuietAlsaErrors quiet;
  std::vector<AlsaCaptureDevice> devices;
  for (int card = -1; snd_card_next(&card) == 0 && card >= 0;) AddCaptureDevicesOfCard(card, devices);
  return devices;
}

std::unique_ptr<AudioSource> MakeAlsaAudioSource(const AlsaCaptureDevice& device) {
  return std::make_unique<AlsaAudioSource>(device);
}

}  // namespace zr::platform::linux_impl
