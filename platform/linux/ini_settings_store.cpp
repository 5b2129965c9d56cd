#include "platform/linux/ini_settings_store.h"

#include <errno.h>
#include <fcntl.h>
#include <pwd.h>
#include <stdlib.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstring>
#include <stdexcept>
#include <string_view>
#include <utility>

#include "base/result.h"
#include "platform/atomic_file.h"
#include "platform/regular_file.h"

namespace zr::platform::linux_impl {
namespace {

// ---- Names --------------------------------------------------------------------------------

bool IsBlank(char c) { return c == ' ' || c == '\t'; }

std::string_view Trim(std::string_view text) {
  while (!text.empty() && IsBlank(text.front())) text.remove_prefix(1);
  while (!text.empty() && IsBlank(text.back())) text.remove_suffix(1);
  return text;
}

char AsciiLower(char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; }

bool SameName(std::string_view a, std::string_view b) {
  if (a.size() != b.size()) return false;
  for (std::size_t i = 0; i < a.size(); ++i) {
    if (AsciiLower(a[i]) != AsciiLower(b[i])) return false;
  }
  return true;
}

bool IsControl(char c) {
  const auto byte = static_cast<unsigned char>(c);
  return byte < 0x20 || byte == 0x7F;
}

std::string SafeFileName(const std::string& application) {
  std::string name = application;
  for (char& c : name) {
    if (c == '/' || IsControl(c)) c = '_';
  }
  return name + ".ini";
}

std::string JoinPath(const std::string& folder, const std::string& name) {
  if (folder.empty() || folder.back() == '/') return folder + name;
  return folder + "/" + name;
}

void CheckName(const std::string& name, const char* what) {
  const bool breaks_line = name.find_first_of("\r\n") != std::string::npos;
  if (breaks_line || Trim(name).size() != name.size()) {
    throw std::invalid_argument(std::string("settings ") + what + " name cannot be stored: \"" + name + "\"");
  }
}

void CheckKey(const std::string& key) {
  CheckName(key, "key");
  const bool looks_like_other_line = !key.empty() && (key.front() == ';' || key.front() == '#' || key.front() == '[');
  if (looks_like_other_line || key.find('=') != std::string::npos) {
    throw std::invalid_argument("settings key name cannot be stored: \"" + key + "\"");
  }
}

// ---- Values -------------------------------------------------------------------------------

std::string Escape(std::string_view value) {
  std::string text;
  text.reserve(value.size());
  for (char c : value) {
    if (c == '\\') {
      text += "\\\\";
    } else if (c == '\r') {
      text += "\\r";
    } else if (c == '\n') {
      text += "\\n";
    } else {
      text += c;
    }
  }
  return text;
}

std::string Unescape(std::string_view text) {
  std::string value;
  value.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    const char next = i + 1 < text.size() ? text[i + 1] : '\0';
    if (text[i] == '\\' && (next == '\\' || next == 'r' || next == 'n')) {
      value += next == '\\' ? '\\' : next == 'r' ? '\r' : '\n';
      ++i;
    } else {
      value += text[i];
    }
  }
  return value;
}

// ---- The file's lines ---------------------------------------------------------------------

enum class LineKind { Section, Entry, Other };

struct ParsedLine {
  LineKind kind = LineKind::Other;
  std::string_view name;   // section or key, trimmed
  std::size_t equals = 0;  // where the '=' of an entry is
};

ParsedLine Parse(std::string_view line) {
  const std::string_view trimmed = Trim(line);
  if (trimmed.empty() || trimmed.front() == ';' || trimmed.front() == '#') return {};
  if (trimmed.size() >= 2 && trimmed.front() == '[' && trimmed.back() == ']') {
    return {LineKind::Section, Trim(trimmed.substr(1, trimmed.size() - 2)), 0};
  }
  const std::size_t equals = line.find('=');
  if (equals == std::string_view::npos) return {};
  return {LineKind::Entry, Trim(line.substr(0, equals)), equals};
}

// An INI file as its lines, so that a rewrite changes only the line of the value it sets.
class IniLines {
 public:
  explicit IniLines(std::string_view text) {
    while (!text.empty()) {
      const std::size_t end = text.find('\n');
      std::string_view line = text.substr(0, end);
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      lines_.emplace_back(line);
      text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
  }

  std::optional<std::string> Find(std::string_view section, std::string_view key) const {
    bool in_section = false;
    for (const std::string& text : lines_) {
      const ParsedLine line = Parse(text);
      if (line.kind == LineKind::Section) in_section = SameName(line.name, section);
      if (line.kind == LineKind::Entry && in_section && SameName(line.name, key)) {
        return Unescape(std::string_view(text).substr(line.equals + 1));
      }
    }
    return std::nullopt;
  }

  // Replaces the value of an existing key and keeps everything before its '='; a new key goes
  // after the last entry of the section's first block, a new section at the end.
  void Set(const std::string& section, const std::string& key, const std::string& value) {
    std::optional<std::size_t> insert_at;
    bool in_section = false;
    bool in_first_block = false;
    for (std::size_t i = 0; i < lines_.size(); ++i) {
      const ParsedLine line = Parse(lines_[i]);
      if (line.kind == LineKind::Section) {
        in_section = SameName(line.name, section);
        in_first_block = in_section && !insert_at;
        if (in_first_block) insert_at = i + 1;
      } else if (line.kind == LineKind::Entry && in_section) {
        if (SameName(line.name, key)) {
          lines_[i] = lines_[i].substr(0, line.equals + 1) + Escape(value);
          return;
        }
        if (in_first_block) insert_at = i + 1;
      }
    }
    const std::string entry = key + "=" + Escape(value);
    if (insert_at) {
      lines_.insert(lines_.begin() + static_cast<std::ptrdiff_t>(*insert_at), entry);
      return;
    }
    if (!lines_.empty() && !Trim(lines_.back()).empty()) lines_.emplace_back();
    lines_.push_back("[" + section + "]");
    lines_.push_back(entry);
  }

  std::string Text() const {
    std::string text;
    for (const std::string& line : lines_) text += line + "\n";
    return text;
  }

 private:
  std::vector<std::string> lines_;
};

// ---- Files --------------------------------------------------------------------------------

std::string Quoted(const std::string& path) { return "\"" + path + "\""; }

Error SystemError(const std::string& where) { return Error{std::strerror(errno), where}; }

// No settings file comes near this; a longer one, a device or a FIFO is reported, never read.
constexpr std::size_t kLargestSettingsFileBytes = 4 << 20;

// The file's bytes; a missing file, or a missing folder to hold it, reads as empty.
Result<std::string> ReadFileText(const std::string& path) {
  SmallFile file = ReadSmallFile(path, kLargestSettingsFileBytes);
  if (file.outcome == FileOutcome::Missing) return std::string();
  if (!file.IsRead()) return Error{file.reason, "reading " + Quoted(path)};
  return std::move(file.text);
}

Result<void> MakeFolder(const std::string& folder) {
  for (std::size_t end = folder.find('/', 1);; end = folder.find('/', end + 1)) {
    const std::string prefix = folder.substr(0, end);
    if (!prefix.empty() && ::mkdir(prefix.c_str(), 0700) != 0 && errno != EEXIST) {
      return SystemError("making the folder " + Quoted(prefix));
    }
    if (end == std::string::npos) return {};
  }
}

// Settings are private to the user; the folder is made when missing.
Result<void> ReplaceFile(const std::string& folder, const std::string& file_name, const std::string& text) {
  if (Result<void> made = MakeFolder(folder); !made) return made;
  return ReplaceFileAtomically(JoinPath(folder, file_name), text, NewFileMode::Private);
}

}  // namespace

std::string DefaultSettingsFolder() {
  const char* config_home = ::getenv("XDG_CONFIG_HOME");
  if (config_home != nullptr && config_home[0] == '/') {
    return JoinPath(config_home, "video-zandrell/");
  }
  std::string home;
  if (const char* home_variable = ::getenv("HOME"); home_variable != nullptr) {
    home = home_variable;
  }
  if (home.empty()) {
    const passwd* user = ::getpwuid(::getuid());
    if (user == nullptr || user->pw_dir == nullptr) {
      throw std::runtime_error("no home folder for the settings: HOME is not set");
    }
    home = user->pw_dir;
  }
  return JoinPath(home, ".config/video-zandrell/");
}

IniSettingsStore::IniSettingsStore(std::string folder, std::ostream& errors)
    : folder_(std::move(folder)), errors_(errors) {}

std::string IniSettingsStore::Get(const std::string& application, const std::string& section, const std::string& key,
                                  const std::string& default_value) {
  return Find(application, section, key).value_or(default_value);
}

std::optional<std::string> IniSettingsStore::Find(const std::string& application, const std::string& section,
                                                  const std::string& key) const {
  if (auto unsaved = FindUnsaved(application, section, key)) return unsaved;
  return IniLines(ReadFileOrReport(FilePath(application))).Find(section, key);
}

void IniSettingsStore::Save(const std::string& application, const std::string& section, const std::string& key,
                            const std::string& value) {
  CheckName(section, "section");
  CheckKey(key);
  std::vector<Setting>& unsaved = unsaved_[application];
  unsaved.push_back({section, key, value});
  const std::string path = FilePath(application);
  Result<void> saved;
  if (Result<std::string> old_text = ReadFileText(path); !old_text) {
    // Rewriting a file that could not be read would lose whatever it holds.
    saved = Error{old_text.error().message, "reading " + Quoted(path) + " before rewriting it"};
  } else {
    IniLines lines(*old_text);
    for (const Setting& setting : unsaved) lines.Set(setting.section, setting.key, setting.value);
    saved = ReplaceFile(folder_, SafeFileName(application), lines.Text());
  }
  if (saved) {
    unsaved_.erase(application);
    return;
  }
  errors_ << "zandrell: cannot save setting [" << section << "] " << key << " of \"" << application
          << "\": " << saved.error().where << ": " << saved.error().message
          << "; the value holds only until the program ends\n";
}

std::string IniSettingsStore::FilePath(const std::string& application) const {
  return JoinPath(folder_, SafeFileName(application));
}

std::optional<std::string> IniSettingsStore::FindUnsaved(const std::string& application, const std::string& section,
                                                         const std::string& key) const {
  const auto found = unsaved_.find(application);
  if (found == unsaved_.end()) return std::nullopt;
  for (auto setting = found->second.rbegin(); setting != found->second.rend(); ++setting) {
    if (SameName(setting->section, section) && SameName(setting->key, key)) return setting->value;
  }
  return std::nullopt;
}

std::string IniSettingsStore::ReadFileOrReport(const std::string& path) const {
  Result<std::string> text = ReadFileText(path);
  if (text) {
    reported_unreadable_.erase(path);
    return *text;
  }
  if (reported_unreadable_.insert(path).second) {
    errors_ << "zandrell: cannot read settings file " << Quoted(path) << ": " << text.error().message
            << "; using the defaults\n";
  }
  return {};
}

}  // namespace zr::platform::linux_impl
