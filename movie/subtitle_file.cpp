#include "movie/subtitle_file.h"

#include <charconv>
#include <cmath>
#include <cstdint>

#include "base/formatting.h"
#include "base/program_error.h"
#include "platform/regular_file.h"

namespace zr {

namespace {

// A subtitle file is text; one larger than this is no subtitle file.
constexpr std::size_t kLargestSubtitleFile = 64u << 20;

std::vector<std::string_view> Lines(std::string_view text) {
  std::vector<std::string_view> lines;
  std::size_t start = 0;
  while (start < text.size()) {
    const std::size_t end = text.find_first_of("\r\n", start);
    if (end == std::string_view::npos) {
      lines.push_back(text.substr(start));
      break;
    }
    lines.push_back(text.substr(start, end - start));
    start = end + (text[end] == '\r' && end + 1 < text.size() && text[end + 1] == '\n' ? 2 : 1);
  }
  return lines;
}

bool IsValidUtf8(std::string_view bytes) {
  std::size_t at = 0;
  while (at < bytes.size()) {
    const auto lead = static_cast<std::uint8_t>(bytes[at]);
    std::size_t length = 0;
    std::uint32_t point = 0;
    if (lead < 0x80) {
      ++at;
      continue;
    }
    if ((lead & 0xE0) == 0xC0) {
      length = 2;
      point = lead & 0x1Fu;
    } else if ((lead & 0xF0) == 0xE0) {
      length = 3;
      point = lead & 0x0Fu;
    } else if ((lead & 0xF8) == 0xF0) {
      length = 4;
      point = lead & 0x07u;
    } else {
      return false;
    }
    if (at + length > bytes.size()) return false;
    for (std::size_t next = 1; next < length; ++next) {
      const auto byte = static_cast<std::uint8_t>(bytes[at + next]);
      if ((byte & 0xC0) != 0x80) return false;
      point = (point << 6) | (byte & 0x3Fu);
    }
    // Overlong forms, surrogates and points beyond Unicode are no UTF-8.
    constexpr std::uint32_t kSmallest[] = {0, 0, 0x80, 0x800, 0x10000};
    if (point < kSmallest[length] || point > 0x10FFFF || (point >= 0xD800 && point <= 0xDFFF)) return false;
    at += length;
  }
  return true;
}

double LeadingNumber(std::string_view text) {
  try {
    return NumericPrefix(text);
  } catch (const OverflowError&) {
    return 0;
  }
}

}  // namespace

std::string ReplaceAll(std::string text, std::string_view from, std::string_view to) {
  if (from.empty()) return text;
  for (std::size_t at = text.find(from); at != std::string::npos; at = text.find(from, at + to.size()))
    text.replace(at, from.size(), to);
  return text;
}

std::vector<SubtitleRecord> ParseSubtitles(std::string_view text) {
  const std::vector<std::string_view> lines = Lines(text);
  std::vector<SubtitleRecord> records;
  // A line read past the end leaves what was read before, and a time line without the arrow
  // leaves the Out before: both carry over from record to record.
  std::string time_line;
  std::string out;
  std::size_t next = 0;
  while (next < lines.size()) {
    SubtitleRecord record;
    record.number = std::string(lines[next++]);
    if (next < lines.size()) time_line = std::string(lines[next++]);
    const std::size_t arrow = time_line.find("-->");
    record.in = time_line.substr(0, arrow);
    if (arrow != std::string::npos) {
      const std::size_t after = arrow + 3;
      out = time_line.substr(after, time_line.find("-->", after) - after);
    }
    record.out = out;
    while (next < lines.size()) {
      const std::string_view line = lines[next++];
      if (line.empty()) break;
      if (!record.text.empty()) record.text += " <EOL> ";
      record.text += line;
    }
    records.push_back(std::move(record));
  }
  return records;
}

std::string DecodeSubtitleBytes(std::string_view bytes) {
  constexpr std::string_view kByteOrderMark = "\xEF\xBB\xBF";
  if (bytes.starts_with(kByteOrderMark)) return std::string(bytes.substr(kByteOrderMark.size()));
  if (IsValidUtf8(bytes)) return std::string(bytes);
  std::string text;
  text.reserve(bytes.size() + bytes.size() / 8);
  for (const char c : bytes) {
    const auto byte = static_cast<std::uint8_t>(c);
    if (byte < 0x80) {
      text += c;
    } else {
      text += static_cast<char>(0xC0 | (byte >> 6));
      text += static_cast<char>(0x80 | (byte & 0x3F));
    }
  }
  return text;
}

std::vector<SubtitleRecord> ReadSubtitleFile(const std::string& path) {
  const platform::SmallFile file = platform::ReadSmallFile(path, kLargestSubtitleFile);
  if (!file.IsRead()) return {SubtitleRecord{}};
  return ParseSubtitles(DecodeSubtitleBytes(file.text));
}

std::string SubtitleFileText(const std::vector<SubtitleRecord>& records) {
  std::string text;
  for (const SubtitleRecord& record : records) {
    text += record.number + "\r\n";
    text += record.in + " --> " + record.out + "\r\n";
    text += ReplaceAll(record.text, kLineMarker, "\r\n") + "\r\n";
    text += "\r\n";
  }
  return text;
}

double SubtitleTimeMs(std::string_view time) {
  double parts[3] = {0, 0, 0};
  std::size_t start = 0;
  for (int part = 0; part < 3 && start <= time.size(); ++part) {
    const std::size_t end = std::min(time.find(':', start), time.size());
    std::string text(time.substr(start, end - start));
    if (part == 2) text = ReplaceAll(std::move(text), ",", ".");
    parts[part] = LeadingNumber(text);
    start = end + 1;
  }
  return parts[0] * 3'600'000 + parts[1] * 60'000 + parts[2] * 1'000;
}

std::string SubtitleTimeCode(double seconds, const std::string& decimal_sign) {
  const double hours = seconds / 3600;
  const double minutes = (hours - Fix(hours)) * 60;
  const double rest = (minutes - Fix(minutes)) * 60;
  // The seconds with three decimals and at least two whole digits, written without the C
  // library's locale, which the toolkit sets to the desktop's.
  char digits[32];
  const auto written = std::to_chars(digits, digits + sizeof digits, rest, std::chars_format::fixed, 3);
  std::string seconds_text(digits, written.ptr);
  if (seconds_text.size() < 6) seconds_text.insert(0, 6 - seconds_text.size(), '0');
  seconds_text.replace(seconds_text.size() - 4, 1, decimal_sign);
  return FormatNumber(Fix(hours), "00") + ":" + FormatNumber(Fix(minutes), "00") + ":" + seconds_text;
}

}  // namespace zr
