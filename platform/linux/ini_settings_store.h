#pragma once
// The per-user settings store on disk: one INI file per application root, "<application>.ini" in
// the store's folder, readable and editable by hand.
//
// File names: the application text as it stands, blanks kept, with '/' and control characters
// replaced by '_' (so "a/b" and "a_b" share a file). Application names are matched with case,
// as file names are.
//
// Layout: "[Section]" lines open sections and "Key=Value" lines hold values. Section and key
// names are trimmed of blanks and tabs and match without regard to ASCII case; the spelling
// first written stays in the file. The value is everything after the first '=', byte for byte,
// blanks included: "  Top = 120" is key "Top" with value " 120". Values are never quoted; so that
// a value fits on its line, '\' is written "\\", CR "\r" and LF "\n", and those three pairs are
// turned back on read (any other backslash stays as it is). A hand-written value with a
// backslash followed by 'n', 'r' or another backslash must therefore double that backslash.
// When a section or key appears twice, the first one counts, for reading and for writing.
//
// Everything the store does not understand is kept as it is on the next write: comments (lines
// starting with ';' or '#'), blank lines, lines without '=', keys the program does not know, and
// keys before the first section. Files are read as bytes (UTF-8, Latin-1 or anything else); CR LF
// line ends are accepted, LF is written.
//
// Each read re-reads the file, so changes by hand or by another store object show at once. A
// missing file reads as empty. A file that cannot be read gives the defaults and one message on
// the error stream (once, until it can be read again), and is never overwritten by Save.
//
// Each Save rewrites the whole file atomically: a private temporary file (mode 0600) in the same
// folder, synced, then renamed over the file. The folder is made (mode 0700) when missing. A Save
// that fails prints one message and keeps the value in memory: later reads of this object see it,
// and the next successful Save of the same application writes it too.

#include <iostream>
#include <map>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include "platform/services.h"

namespace zr::platform::linux_impl {

// "$XDG_CONFIG_HOME/video-zandrell/" when that variable holds an absolute path, otherwise
// "$HOME/.config/video-zandrell/" (the password entry's home when HOME is unset or empty).
std::string DefaultSettingsFolder();

class IniSettingsStore final : public SettingsStore {
 public:
  explicit IniSettingsStore(std::string folder, std::ostream& errors = std::cerr);

  std::string Get(const std::string& application, const std::string& section, const std::string& key,
                  const std::string& default_value) override;
  // Throws std::invalid_argument for a name that cannot be written and read back as the same
  // name: a line break in either, blanks around either, a key holding '=' or starting with ';',
  // '#' or '['.
  void Save(const std::string& application, const std::string& section, const std::string& key,
            const std::string& value) override;
  std::optional<std::string> Find(const std::string& application, const std::string& section,
                                  const std::string& key) const;

 private:
  struct Setting {
    std::string section, key, value;
  };

  std::string FilePath(const std::string& application) const;
  std::optional<std::string> FindUnsaved(const std::string& application, const std::string& section,
                                         const std::string& key) const;
  std::string ReadFileOrReport(const std::string& path) const;

  std::string folder_;
  std::ostream& errors_;
  // Values whose Save failed, in order, by application.
  std::map<std::string, std::vector<Setting>> unsaved_;
  // Files already reported as unreadable; a file leaves the set when it reads again.
  mutable std::set<std::string> reported_unreadable_;
};

}  // namespace zr::platform::linux_impl
