#include "core/settings_keys.h"

#include <array>

#include "base/formatting.h"

namespace zr {

namespace settings {

SettingKey ToolbarShown(int index) {
  static const std::array<const char*, 9> kKeys = {"Toolbar0", "Toolbar1", "Toolbar2", "Toolbar3", "Toolbar4",
                                                   "Toolbar5", "Toolbar6", "Toolbar7", "Toolbar8"};
  return SettingKey{kTitleRoot, "Window", kKeys.at(static_cast<std::size_t>(index)), "1"};
}

}  // namespace settings

std::string ReadSetting(platform::SettingsStore& store, const SettingKey& key) {
  return store.Get(key.application, key.section, key.key, key.default_value);
}

std::string ReadSetting(platform::SettingsStore& store, const SettingKey& key, const std::string& default_value) {
  return store.Get(key.application, key.section, key.key, default_value);
}

namespace {
double NumberOrZero(const std::string& text) {
  try {
    return NumericPrefix(text);
  } catch (const OverflowError&) {
    return 0;
  }
}
}  // namespace

double ReadSettingNumber(platform::SettingsStore& store, const SettingKey& key) {
  return NumberOrZero(ReadSetting(store, key));
}

double ReadSettingNumber(platform::SettingsStore& store, const SettingKey& key, const std::string& default_value) {
  return NumberOrZero(ReadSetting(store, key, default_value));
}

void SaveSetting(platform::SettingsStore& store, const SettingKey& key, const std::string& value) {
  store.Save(key.application, key.section, key.key, value);
}

}  // namespace zr
