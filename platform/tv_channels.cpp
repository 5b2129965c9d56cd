#include "platform/tv_channels.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <optional>
#include <utility>

#include "platform/regular_file.h"

namespace zr::platform {

namespace {

// The shipped plan is under 30 KB; nothing a person edits comes near this.
constexpr std::size_t kLargestPlanBytes = 256 * 1024;
constexpr int kHighestChannelNumber = 32767;  // the channel bar holds 16 bits
constexpr int kLowestCarrierKhz = 40'000;     // below band I
constexpr int kHighestCarrierKhz = 1'000'000;
constexpr int kHighestCountryCode = 9999;
constexpr std::size_t kLongestChannelName = 8;

constexpr std::array<std::pair<std::string_view, TvStandard>, 11> kStandardNames{{
    {"NTSC-M", TvStandard::NtscM},
    {"NTSC-M-JP", TvStandard::NtscMJapan},
    {"PAL-B/G", TvStandard::PalBG},
    {"PAL-I", TvStandard::PalI},
    {"PAL-D/K", TvStandard::PalDK},
    {"PAL-M", TvStandard::PalM},
    {"PAL-N", TvStandard::PalN},
    {"PAL-Nc", TvStandard::PalNc},
    {"SECAM-L", TvStandard::SecamL},
    {"SECAM-D/K", TvStandard::SecamDK},
    {"SECAM-B/G", TvStandard::SecamBG},
}};

std::vector<std::string_view> FieldsOf(std::string_view line) {
  std::vector<std::string_view> fields;
  std::size_t start = 0;
  while ((start = line.find_first_not_of(" \t", start)) != std::string_view::npos) {
    const std::size_t end = std::min(line.find_first_of(" \t", start), line.size());
    fields.push_back(line.substr(start, end - start));
    start = end;
  }
  return fields;
}

std::optional<int> WholeNumber(std::string_view text, int lowest, int highest) {
  int value = 0;
  const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
  if (error != std::errc{} || end != text.data() + text.size() || value < lowest || value > highest)
    return std::nullopt;
  return value;
}

bool IsChannelName(std::string_view name) {
  return !name.empty() && name.size() <= kLongestChannelName && std::all_of(name.begin(), name.end(), [](char c) {
    return (c >= '0' && c <= '9') || (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '-';
  });
}

std::optional<TvStandard> StandardNamed(std::string_view name) {
  for (const auto& [known, standard] : kStandardNames)
    if (known == name) return standard;
  return std::nullopt;
}

// Reads the plan line by line; the first fault ends the reading with its line's number.
class PlanReader {
 public:
  Result<TvChannelPlan> Read(std::string_view text) {
    std::size_t start = 0;
    while (start < text.size()) {
      const std::size_t end = std::min(text.find('\n', start), text.size());
      std::string_view line = text.substr(start, end - start);
      if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
      start = end + 1;
      ++line_number_;
      if (auto fault = ReadLine(line))
        return Error{"line " + std::to_string(line_number_) + ": " + *fault, "tv-channels"};
    }
    if (auto fault = CheckCountries()) return Error{*fault, "tv-channels"};
    for (auto& [name, channels] : plan_.tables)
      std::sort(channels.begin(), channels.end(),
                [](const TvChannel& left, const TvChannel& right) { return left.number < right.number; });
    return std::move(plan_);
  }

 private:
  using Fault = std::optional<std::string>;

  Fault ReadLine(std::string_view line) {
    const std::vector<std::string_view> fields = FieldsOf(line);
    if (fields.empty() || fields.front().front() == '#') return std::nullopt;
    if (fields.front().front() == '[') return ReadSectionHead(line.substr(line.find('[')));
    if (!table_ && !in_countries_) return "a row before any [table NAME] or [countries]";
    return in_countries_ ? ReadCountry(fields) : ReadChannel(fields);
  }

  Fault ReadSectionHead(std::string_view head) {
    while (!head.empty() && (head.back() == ' ' || head.back() == '\t')) head.remove_suffix(1);
    if (head.back() != ']') return "a section head without its closing ]";
    const std::vector<std::string_view> words = FieldsOf(head.substr(1, head.size() - 2));
    table_ = nullptr;
    in_countries_ = words.size() == 1 && words[0] == "countries";
    if (in_countries_) return std::nullopt;
    if (words.size() != 2 || words[0] != "table") return "a section head that is neither [table NAME] nor [countries]";
    auto [entry, added] = plan_.tables.try_emplace(std::string(words[1]));
    if (!added) return "a second table named " + std::string(words[1]);
    table_ = &entry->second;
    return std::nullopt;
  }

  Fault ReadChannel(const std::vector<std::string_view>& fields) {
    if (fields.size() != 3) return "a channel needs a number, a name and a video carrier in kHz";
    const std::optional<int> number = WholeNumber(fields[0], 0, kHighestChannelNumber);
    if (!number) return "the channel number is not a whole number from 0 to 32767";
    if (!IsChannelName(fields[1])) return "the channel name is not 1 to 8 letters, digits or dashes";
    const std::optional<int> khz = WholeNumber(fields[2], kLowestCarrierKhz, kHighestCarrierKhz);
    if (!khz) return "the video carrier is not a whole number of kHz from 40000 to 1000000";
    const bool taken = std::any_of(table_->begin(), table_->end(),
                                   [&](const TvChannel& channel) { return channel.number == *number; });
    if (taken) return "a second channel numbered " + std::to_string(*number) + " in the table";
    table_->push_back({*number, std::string(fields[1]), *khz});
    return std::nullopt;
  }

  Fault ReadCountry(const std::vector<std::string_view>& fields) {
    if (fields.size() != 4) return "a country needs a code, a standard, an antenna table and a cable table";
    const std::optional<int> code = WholeNumber(fields[0], 1, kHighestCountryCode);
    if (!code) return "the country code is not a whole number from 1 to 9999";
    const std::optional<TvStandard> standard = StandardNamed(fields[1]);
    if (!standard) return "the standard " + std::string(fields[1]) + " is not one the tuner knows";
    if (plan_.Country(*code)) return "a second row for country " + std::to_string(*code);
    plan_.countries.push_back({*code, *standard, std::string(fields[2]), std::string(fields[3])});
    country_lines_.push_back(line_number_);
    return std::nullopt;
  }

  // The tables may follow the countries that name them, so they are looked for at the end.
  Fault CheckCountries() const {
    for (std::size_t index = 0; index < plan_.countries.size(); ++index) {
      const TvCountry& country = plan_.countries[index];
      for (const std::string* table : {&country.antenna_table, &country.cable_table})
        if (!plan_.Table(*table))
          return "line " + std::to_string(country_lines_[index]) + ": there is no table named " + *table;
    }
    return std::nullopt;
  }

  TvChannelPlan plan_;
  std::vector<TvChannel>* table_ = nullptr;
  bool in_countries_ = false;
  int line_number_ = 0;
  std::vector<int> country_lines_;
};

}  // namespace

const TvCountry* TvChannelPlan::Country(int code) const {
  const auto found = std::find_if(countries.begin(), countries.end(),
                                  [code](const TvCountry& country) { return country.code == code; });
  return found == countries.end() ? nullptr : &*found;
}

const std::vector<TvChannel>* TvChannelPlan::Table(std::string_view name) const {
  const auto found = tables.find(name);
  return found == tables.end() ? nullptr : &found->second;
}

Result<TvChannelPlan> ParseTvChannelPlan(std::string_view text) { return PlanReader().Read(text); }

Result<TvChannelPlan> ReadTvChannelPlan(const std::string& path) {
  const SmallFile file = ReadSmallFile(path, kLargestPlanBytes);
  if (!file.IsRead()) return Error{path + " " + file.reason, "tv-channels"};
  Result<TvChannelPlan> plan = ParseTvChannelPlan(file.text);
  if (!plan) return Error{path + ", " + plan.error().message, plan.error().where};
  return plan;
}

}  // namespace zr::platform
