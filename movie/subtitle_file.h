#pragma once
// The subtitle files the editor reads and writes, and the times in them. A record is a number
// line, a time line ("In --> Out"), text lines and one empty line. Times stay the texts they
// were read as; only the editor's own stamps are made here, in the form hh:mm:ss.mmm.

#include <string>
#include <string_view>
#include <vector>

namespace zr {

// The marker that stands for a line end inside a row's text.
inline constexpr std::string_view kLineMarker = "<EOL>";

struct SubtitleRecord {
  std::string text;  // the lines joined with " <EOL> "
  std::string number;
  std::string in;
  std::string out;
  bool operator==(const SubtitleRecord&) const = default;
};

// The records of a file's text, read as the editor reads them: nothing is trimmed, a time line
// without the arrow takes the whole line as In and keeps the Out of the record before, a second
// empty line between records is taken for the next number, and a last record without its
// empty line is read whole. Lines end in CR LF, LF or CR.
std::vector<SubtitleRecord> ParseSubtitles(std::string_view text);

// The records of the file at `path`. The file is read as UTF-8 (a byte-order mark is passed
// over); a file that is not valid UTF-8 is read as Latin-1, so the texts are UTF-8 either way.
// A file that cannot be read gives one record with empty fields, as an empty read of each line
// of the first record does.
std::vector<SubtitleRecord> ReadSubtitleFile(const std::string& path);

// UTF-8 text of a file's bytes by the rules above.
std::string DecodeSubtitleBytes(std::string_view bytes);

// The file's bytes: each record as number, CR LF, In " --> " Out, CR LF, the text with every
// "<EOL>" replaced by CR LF, CR LF, and an empty line; UTF-8 without a byte-order mark.
std::string SubtitleFileText(const std::vector<SubtitleRecord>& records);

// Replaces every `from` in `text` by `to`.
std::string ReplaceAll(std::string text, std::string_view from, std::string_view to);

// Milliseconds of a time text: its parts at ":" are hours, minutes and seconds (a comma in the
// seconds reads as the decimal point), each the leading number of its text; a missing part
// counts 0.
double SubtitleTimeMs(std::string_view time);

// The editor's time code of a position in seconds: "00:00:10.500", the seconds' decimal sign
// that of the desktop's numbers ("00:00:10,500" in Germany).
std::string SubtitleTimeCode(double seconds, const std::string& decimal_sign = ".");

}  // namespace zr
