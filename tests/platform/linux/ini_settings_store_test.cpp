#include "platform/linux/ini_settings_store.h"

#include <fcntl.h>
#include <gtest/gtest.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <string>
#include <vector>

#include "tests/support/platform_checks.h"

namespace zr::platform::linux_impl {
namespace {

namespace fs = std::filesystem;

using zr::testing::FileText;

class IniSettingsStoreTest : public ::testing::Test {
 protected:
  std::string FilePath(const std::string& application) const { return folder_ + application + ".ini"; }
  void WriteText(const std::string& path, const std::string& text) const {
    fs::create_directories(folder_);
    std::ofstream(path, std::ios::binary) << text;
  }
  std::vector<std::string> FolderEntries() const {
    std::vector<std::string> names;
    for (const auto& entry : fs::directory_iterator(folder_)) names.push_back(entry.path().filename().string());
    std::sort(names.begin(), names.end());
    return names;
  }
  long MessageCount() const {
    const std::string text = errors_.str();
    return std::count(text.begin(), text.end(), '\n');
  }

  zr::testing::TemporaryFolder temporary_;
  fs::path root_ = temporary_.path();
  std::string folder_ = root_.string() + "/config/video-zandrell/";  // missing until a Save
  std::ostringstream errors_;
  IniSettingsStore store_{folder_, errors_};
};

TEST_F(IniSettingsStoreTest, MissingFolderFileSectionOrKeyGiveTheDefaultSilently) {
  EXPECT_EQ(store_.Get("ZR", "ZR", "ES", "1"), "1");
  EXPECT_EQ(store_.Find("ZR", "ZR", "ES"), std::nullopt);
  WriteText(FilePath("ZR"), "[MD]\nSENSE=7\n");
  EXPECT_EQ(store_.Get("ZR", "JPEG", "SENSE", "100"), "100");
  EXPECT_EQ(store_.Get("ZR", "MD", "OQ", "1"), "1");
  EXPECT_EQ(store_.Get("ZR", "MD", "SENSE", "5"), "7");
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(IniSettingsStoreTest, ValuesComeBackByteForByte) {
  const std::vector<std::string> values = {"a=b=c",
                                           "  blanks both sides  ",
                                           "",
                                           "one\ntwo\r\nthree\r",
                                           R"(C:\new\\path\)",
                                           "caf\xe9 Latin-1",
                                           "UTF-8 \xc3\xbc\xc3\xa9",
                                           std::string("nul\0inside", 10)};
  for (std::size_t i = 0; i < values.size(); ++i) store_.Save("ZR", "Values", "V" + std::to_string(i), values[i]);
  IniSettingsStore fresh(folder_, errors_);
  for (std::size_t i = 0; i < values.size(); ++i) {
    EXPECT_EQ(fresh.Find("ZR", "Values", "V" + std::to_string(i)), values[i]) << i;
  }
  const std::string text = FileText(FilePath("ZR"));
  EXPECT_NE(text.find("V3=one\\ntwo\\r\\nthree\\r\n"), std::string::npos) << text;
  EXPECT_NE(text.find("V4=C:\\\\new\\\\\\\\path\\\\\n"), std::string::npos) << text;
  EXPECT_EQ(std::count(text.begin(), text.end(), '\n'), 1 + static_cast<long>(values.size()));
  EXPECT_EQ(errors_.str(), "");
}

TEST_F(IniSettingsStoreTest, NamesMatchWithoutAsciiCaseAndKeepTheirFirstSpelling) {
  store_.Save("ZR", "Md", "Oq", "1");
  store_.Save("ZR", "MD", "OQ", "0");
  store_.Save("ZR", "md", "sense", "3");
  EXPECT_EQ(store_.Get("ZR", "mD", "oQ", "1"), "0");
  EXPECT_EQ(FileText(FilePath("ZR")), "[Md]\nOq=0\nsense=3\n");
  // Only ASCII letters fold: other bytes must match exactly.
  store_.Save("ZR", "Md", "\xc3\xa9t\xc3\xa9", "summer");
  EXPECT_EQ(store_.Find("ZR", "Md", "\xc3\x89T\xc3\x89"), std::nullopt);
}

TEST_F(IniSettingsStoreTest, HandWrittenFileIsReadAndNothingElseIsLostOnRewrite) {
  const std::string app = "Video Zandrell";
  WriteText(FilePath(app),
            "; written by hand\r\nOrphan=before any section\r\n\r\n  [ window ]  \r\n# Top=999 is only a comment\r\n"
            "  Top = 120\r\nUnknown=kept\r\njunk without equals\r\n[System]\r\nLastDevice=Cam\r\n"
            "[Window]\r\nLeft=1\r\nWidth=5");
  EXPECT_EQ(store_.Get(app, "Window", "Top", ""), " 120");
  EXPECT_EQ(store_.Get(app, "Window", "Left", "none"), "1");
  EXPECT_EQ(store_.Get(app, "Window", "Width", ""), "5");

  store_.Save(app, "Window", "Top", "7");
  store_.Save(app, "Window", "Height", "600");
  store_.Save(app, "Window", "Left", "2");
  store_.Save(app, "WebShare", "Port", "8080");
  EXPECT_EQ(FileText(FilePath(app)),
            "; written by hand\nOrphan=before any section\n\n  [ window ]  \n# Top=999 is only a comment\n"
            "  Top =7\nUnknown=kept\nHeight=600\njunk without equals\n[System]\nLastDevice=Cam\n"
            "[Window]\nLeft=2\nWidth=5\n\n[WebShare]\nPort=8080\n");
  EXPECT_EQ(store_.Get(app, "Window", "Top", ""), "7");
}

TEST_F(IniSettingsStoreTest, EachApplicationRootHasItsOwnFile) {
  const std::string odd = "odd/name\twith\x01 controls";
  for (const std::string application : {"Video Zandrell", "ZR", "ZZANDRELL", "ZANDRELL", odd.c_str()}) {
    store_.Save(application, "S", "K", application + " value");
  }
  EXPECT_EQ(FolderEntries(), (std::vector<std::string>{"Video Zandrell.ini", "ZANDRELL.ini", "ZR.ini", "ZZANDRELL.ini",
                                                       "odd_name_with_ controls.ini"}));
  EXPECT_EQ(store_.Get("ZR", "S", "K", ""), "ZR value");
  EXPECT_EQ(store_.Get("ZANDRELL", "S", "K", ""), "ZANDRELL value");
  EXPECT_EQ(store_.Get(odd, "S", "K", ""), odd + " value");
}

TEST_F(IniSettingsStoreTest, SaveWritesAPrivateFileAtomicallyWhateverTheUmask) {
  const auto owner_rw = fs::perms::owner_read | fs::perms::owner_write;
  const mode_t old_umask = ::umask(0);
  store_.Save("ZR", "ZR", "AP", "1");
  store_.Save("ZR", "ZR", "PUMV", "0");
  ::umask(old_umask);
  EXPECT_EQ(fs::status(folder_).permissions(), fs::perms::owner_all);
  EXPECT_EQ(fs::status(FilePath("ZR")).permissions(), owner_rw);
  EXPECT_EQ(FolderEntries(), std::vector<std::string>{"ZR.ini"});

  fs::permissions(FilePath("ZR"), fs::perms::all);
  store_.Save("ZR", "ZR", "AP", "0");
  EXPECT_EQ(fs::status(FilePath("ZR")).permissions(), owner_rw);
}

TEST_F(IniSettingsStoreTest, UnreadableFileGivesDefaultsOneMessageAndIsNotOverwritten) {
  const std::string path = FilePath("ZR");
  WriteText(path, "[ZR]\nES=0\n");
  ::chmod(path.c_str(), 0);
  const int probe = ::open(path.c_str(), O_RDONLY);
  const bool folder_in_place = probe >= 0;
  if (folder_in_place) {
    // The mode does not stop this user (root): a folder in its place stops everyone.
    ::close(probe);
    fs::remove(path);
    fs::create_directory(path);
  }
  EXPECT_EQ(store_.Get("ZR", "ZR", "ES", "1"), "1");
  EXPECT_EQ(store_.Find("ZR", "ZR", "AP"), std::nullopt);
  EXPECT_EQ(MessageCount(), 1);
  EXPECT_NE(errors_.str().find(path), std::string::npos) << errors_.str();

  EXPECT_NO_THROW(store_.Save("ZR", "ZR", "ES", "1"));
  EXPECT_EQ(MessageCount(), 2);
  EXPECT_EQ(store_.Get("ZR", "ZR", "ES", "x"), "1");
  if (folder_in_place) {
    EXPECT_TRUE(fs::is_directory(path));
  } else {
    ::chmod(path.c_str(), 0600);
    EXPECT_EQ(FileText(path), "[ZR]\nES=0\n");
  }
}

TEST_F(IniSettingsStoreTest, FailedSaveReportsKeepsTheValueAndWritesItNextTime) {
  fs::create_directories(root_ / "config");
  std::ofstream(root_ / "config" / "video-zandrell") << "a file where the folder belongs";
  EXPECT_NO_THROW(store_.Save("ZR", "JPEG", "Compression", "90"));
  EXPECT_EQ(MessageCount(), 1);
  EXPECT_NE(errors_.str().find("Compression"), std::string::npos) << errors_.str();
  EXPECT_EQ(store_.Get("ZR", "jpeg", "compression", "100"), "90");

  fs::remove(root_ / "config" / "video-zandrell");
  store_.Save("ZR", "MD", "SENSE", "4");
  IniSettingsStore fresh(folder_, errors_);
  EXPECT_EQ(fresh.Find("ZR", "JPEG", "Compression"), "90");
  EXPECT_EQ(fresh.Find("ZR", "MD", "SENSE"), "4");
  EXPECT_EQ(MessageCount(), 1);
}

TEST_F(IniSettingsStoreTest, StoresSeeEachOthersWritesAndChangesByHand) {
  IniSettingsStore other(folder_, errors_);
  store_.Save("ZR", "NET", "HANGUP", "0");
  other.Save("ZR", "MD", "OQ", "0");
  EXPECT_EQ(other.Get("ZR", "NET", "HANGUP", "1"), "0");
  EXPECT_EQ(store_.Get("ZR", "MD", "OQ", "1"), "0");
  WriteText(FilePath("ZR"), "[NET]\nHANGUP=1\n");
  EXPECT_EQ(store_.Get("ZR", "NET", "HANGUP", ""), "1");
  EXPECT_EQ(store_.Find("ZR", "MD", "OQ"), std::nullopt);
}

TEST_F(IniSettingsStoreTest, NamesThatCannotBeStoredAreRefused) {
  for (const char* key : {"a=b", ";key", " key"}) EXPECT_THROW(store_.Save("ZR", "S", key, "v"), std::invalid_argument);
  EXPECT_THROW(store_.Save("ZR", "line\nbreak", "key", "v"), std::invalid_argument);
  EXPECT_FALSE(fs::exists(FilePath("ZR")));
}

// Sets HOME and XDG_CONFIG_HOME for one test and puts the old values back after it.
class DefaultSettingsFolderTest : public ::testing::Test {
 protected:
  ~DefaultSettingsFolderTest() override {
    for (const auto& [name, value] : saved_) value ? ::setenv(name, value->c_str(), 1) : ::unsetenv(name);
  }

 private:
  static std::optional<std::string> Variable(const char* name) {
    const char* value = ::getenv(name);
    return value ? std::optional<std::string>(value) : std::nullopt;
  }
  std::vector<std::pair<const char*, std::optional<std::string>>> saved_ = {
      {"XDG_CONFIG_HOME", Variable("XDG_CONFIG_HOME")}, {"HOME", Variable("HOME")}};
};

TEST_F(DefaultSettingsFolderTest, UsesAnAbsoluteXdgConfigHomeElseHome) {
  ::setenv("HOME", "/home/operator", 1);
  ::setenv("XDG_CONFIG_HOME", "/srv/config/", 1);
  EXPECT_EQ(DefaultSettingsFolder(), "/srv/config/video-zandrell/");
  for (const char* ignored : {"relative/config", ""}) {
    ::setenv("XDG_CONFIG_HOME", ignored, 1);
    EXPECT_EQ(DefaultSettingsFolder(), "/home/operator/.config/video-zandrell/") << ignored;
  }
  ::unsetenv("XDG_CONFIG_HOME");
  EXPECT_EQ(DefaultSettingsFolder(), "/home/operator/.config/video-zandrell/");
}

}  // namespace
}  // namespace zr::platform::linux_impl
