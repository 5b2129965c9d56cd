#pragma once
// The TV tuner's channel plan: the channel tables of the broadcast and cable plans (each
// channel's place on the channel bar, its name and its picture carrier) and the countries that
// use them (their standard, their antenna table and their cable table). The plan is data, read
// from the file tv-channels.ini the program ships beside itself; its head comment describes the
// format for the operator who edits it.

#include <map>
#include <string>
#include <string_view>
#include <vector>

#include "base/result.h"

namespace zr::platform {

inline constexpr const char* kTvChannelFile = "tv-channels.ini";

// The colour systems and sound standards a country broadcasts in.
enum class TvStandard { NtscM, NtscMJapan, PalBG, PalI, PalDK, PalM, PalN, PalNc, SecamL, SecamDK, SecamBG };

struct TvChannel {
  int number = 0;  // the channel's place on the channel bar
  std::string name;
  int video_khz = 0;  // the picture carrier
};

struct TvCountry {
  int code = 0;  // the telephone country code
  TvStandard standard = TvStandard::NtscM;
  std::string antenna_table;
  std::string cable_table;
};

struct TvChannelPlan {
  std::map<std::string, std::vector<TvChannel>, std::less<>> tables;  // each by channel number
  std::vector<TvCountry> countries;                                   // in the file's order

  // Nothing where the plan has no such country or table.
  const TvCountry* Country(int code) const;
  const std::vector<TvChannel>* Table(std::string_view name) const;
};

// The plan in `text`; an Error naming the first line that breaks the format and how.
Result<TvChannelPlan> ParseTvChannelPlan(std::string_view text);
// The plan in the file at `path`; an Error for a file that is missing, no regular file, larger
// than any plan, or not in the format.
Result<TvChannelPlan> ReadTvChannelPlan(const std::string& path);

}  // namespace zr::platform
