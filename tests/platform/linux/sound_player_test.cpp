// The shutter sound: the WAVE reader, and playing through ALSA to its end.

#include "platform/linux/sound_player.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>

namespace zr::platform::linux_impl {
namespace {

const std::string kShutterSound = std::string(ZR_SOURCE_DIR) + "/assets/camera.wav";

TEST(SoundPlayer, TheShippedShutterSoundIsAShortMonoPcmSound) {
  const auto sound = ReadWaveFile(kShutterSound);
  ASSERT_TRUE(sound) << sound.error().message;
  EXPECT_EQ(sound->channels, 1);
  EXPECT_EQ(sound->samples_per_second, 22050);
  EXPECT_EQ(sound->bits_per_sample, 16);
  EXPECT_EQ(sound->data.size(), 22050u * 2 / 5);  // 0.2 s
}

TEST(SoundPlayer, FilesThatAreNoPlainPcmWaveAreRefused) {
  const std::string folder = testing::TempDir();
  const auto write = [&](const std::string& name, const std::string& bytes) {
    std::ofstream(folder + name, std::ios::binary) << bytes;
    return folder + name;
  };
  std::string compressed(44, '\0');
  compressed.replace(0, 16, std::string("RIFF\x24\0\0\0WAVEfmt ", 16));
  compressed[16] = 16;
  compressed[20] = 2;  // ADPCM
  EXPECT_FALSE(ReadWaveFile(folder + "missing.wav"));
  EXPECT_FALSE(ReadWaveFile(write("text.wav", "not a sound at all")));
  EXPECT_FALSE(ReadWaveFile(write("adpcm.wav", compressed)));
  EXPECT_FALSE(ReadWaveFile(write("no_data.wav", std::string("RIFF\x04\0\0\0WAVE", 12))));
}

// ALSA's "null" output takes the samples on any machine, sound card or not.
TEST(SoundPlayer, PlaysToTheEndOnAnOutputAndFailsCleanlyWithout) {
  EXPECT_TRUE(PlayWaveFile(kShutterSound, "null"));
  const auto no_device = PlayWaveFile(kShutterSound, "hw:CARD=NoSuchCard");
  ASSERT_FALSE(no_device);
  EXPECT_EQ(no_device.error().where, "snd_pcm_open");
  EXPECT_EQ(PlayWaveFile("/nonexistent/camera.wav", "null").error().where, "ReadWaveFile");
}

}  // namespace
}  // namespace zr::platform::linux_impl
