#pragma once
// The languages of the operator's texts. Every fixed text of the program is written in English
// and passed through the translation with that English text as its key; the table of
// language_tables.cpp gives each such text in Portuguese (Brazilian), Spanish, French and German.
// The language is chosen once, by the --lang option or else by the desktop's locale.

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace zr {

enum class Language { English, Portuguese, Spanish, French, German };

// The language of a locale name such as "pt_BR.UTF-8", "de_DE@euro", "fr" or "es_ES"; English
// for "C", "POSIX", "" and every language without a table.
Language LanguageOfLocale(std::string_view locale);

// The desktop's language from the values of LC_ALL, LC_MESSAGES and LANG: the first of them that
// is not empty decides, as POSIX orders them.
Language DesktopLanguage(std::string_view lc_all, std::string_view lc_messages, std::string_view lang);

// The value of a --lang option: "en", "pt", "es", "fr", "de", or a locale name of one of these
// languages ("pt_BR"); nothing for any other code.
std::optional<Language> LanguageOfOption(std::string_view code);

// The display text of `key` in `language`: the key itself in English and for a text the table
// does not hold.
std::string TranslateText(Language language, const std::string& key);

// Every fixed text the program translates, the English keys, in the order of the table.
const std::vector<std::string>& TranslatableTexts();

// One fixed text in every language.
struct TextTranslations {
  std::string_view english;
  std::string_view portuguese;
  std::string_view spanish;
  std::string_view french;
  std::string_view german;
};

// The table of every translated text, grouped by window; defined in language_tables.cpp.
std::span<const TextTranslations> TranslationTable();

}  // namespace zr
