#include "core/language.h"

#include <algorithm>
#include <stdexcept>
#include <unordered_map>
#include <utility>

namespace zr {

namespace {

// The language code at the head of a locale name, in lower case: "pt" of "pt_BR.UTF-8", "de" of
// "de@euro", "c" of "C.UTF-8". A hyphen ends it too, for the "pt-BR" form people type.
std::string LanguageCode(std::string_view locale) {
  std::string code(locale.substr(0, locale.find_first_of("_-.@")));
  std::transform(code.begin(), code.end(), code.begin(),
                 [](unsigned char c) { return static_cast<char>(c >= 'A' && c <= 'Z' ? c - 'A' + 'a' : c); });
  return code;
}

std::string_view TextIn(const TextTranslations& row, Language language) {
  switch (language) {
    case Language::English:
      return row.english;
    case Language::Portuguese:
      return row.portuguese;
    case Language::Spanish:
      return row.spanish;
    case Language::French:
      return row.french;
    case Language::German:
      return row.german;
  }
  throw std::logic_error("no such language");
}

const std::unordered_map<std::string_view, const TextTranslations*>& RowsByKey() {
  static const auto rows = [] {
    std::unordered_map<std::string_view, const TextTranslations*> by_key;
    for (const auto& row : TranslationTable()) by_key.emplace(row.english, &row);
    return by_key;
  }();
  return rows;
}

}  // namespace

std::optional<Language> LanguageOfOption(std::string_view code) {
  static constexpr std::pair<std::string_view, Language> kCodes[] = {{"en", Language::English},
                                                                     {"pt", Language::Portuguese},
                                                                     {"es", Language::Spanish},
                                                                     {"fr", Language::French},
                                                                     {"de", Language::German}};
  const std::string head = LanguageCode(code);
  for (const auto& [name, language] : kCodes)
    if (head == name) return language;
  return std::nullopt;
}

Language LanguageOfLocale(std::string_view locale) { return LanguageOfOption(locale).value_or(Language::English); }

Language DesktopLanguage(std::string_view lc_all, std::string_view lc_messages, std::string_view lang) {
  for (const std::string_view value : {lc_all, lc_messages, lang})
    if (!value.empty()) return LanguageOfLocale(value);
  return Language::English;
}

std::string TranslateText(Language language, const std::string& key) {
  if (language == Language::English) return key;
  const auto& rows = RowsByKey();
  const auto found = rows.find(key);
  if (found == rows.end()) return key;
  return std::string(TextIn(*found->second, language));
}

const std::vector<std::string>& TranslatableTexts() {
  static const auto texts = [] {
    std::vector<std::string> keys;
    for (const auto& row : TranslationTable()) keys.emplace_back(row.english);
    return keys;
  }();
  return texts;
}

}  // namespace zr
