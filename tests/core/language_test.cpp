#include "core/language.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <fstream>
#include <optional>
#include <ostream>
#include <regex>
#include <set>
#include <sstream>
#include <stdexcept>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace zr {

// Names the language in the messages of failed expectations.
void PrintTo(Language language, std::ostream* out);

namespace {

constexpr Language kTranslatedLanguages[] = {Language::Portuguese, Language::Spanish, Language::French,
                                             Language::German};

std::string_view NameOf(Language language) {
  constexpr std::string_view kNames[] = {"English", "Portuguese", "Spanish", "French", "German"};
  return kNames[static_cast<int>(language)];
}

// ---- The table

TEST(LanguageTable, HoldsEachTextOnce) {
  const auto& texts = TranslatableTexts();
  const std::set<std::string> distinct(texts.begin(), texts.end());
  EXPECT_EQ(distinct.size(), texts.size()) << "a second row of the same key can never be reached";
}

// Every row gives every language a text; a row that reads as English in all four is a row
// nobody translated, unless its word is the same everywhere.
TEST(LanguageTable, TranslatesEveryTextIntoEveryLanguage) {
  const std::set<std::string> kSameEverywhere = {"Mono", "&Mono"};
  for (const auto& key : TranslatableTexts()) {
    bool translated = false;
    for (const auto language : kTranslatedLanguages) {
      EXPECT_FALSE(TranslateText(language, key).empty()) << "\"" << key << "\" in " << NameOf(language);
      translated = translated || TranslateText(language, key) != key;
    }
    EXPECT_TRUE(translated || kSameEverywhere.contains(key)) << "\"" << key << "\" is English in every language";
  }
}

// What a translation must keep of its key: the program joins texts to numbers and names, and the
// operator relies on the hints, the accelerators and the dialog marks.
struct Shape {
  std::size_t leading_blanks = 0;
  std::size_t trailing_blanks = 0;
  bool ends_with_ellipsis = false;
  bool ends_with_colon = false;
  bool ends_with_percent = false;
  std::string key_hint;
  std::size_t ampersands = 0;
  std::size_t line_breaks = 0;

  bool operator==(const Shape&) const = default;
};

void PrintTo(const Shape& shape, std::ostream* out) {
  *out << "{blanks " << shape.leading_blanks << "/" << shape.trailing_blanks << ", ellipsis "
       << shape.ends_with_ellipsis << ", colon " << shape.ends_with_colon << ", percent " << shape.ends_with_percent
       << ", hint \"" << shape.key_hint << "\", & " << shape.ampersands << ", lines " << shape.line_breaks << "}";
}

Shape ShapeOf(std::string_view text) {
  Shape shape;
  shape.leading_blanks = std::min(text.find_first_not_of(' '), text.size());
  const std::string_view trimmed = text.substr(0, text.find_last_not_of(' ') + 1);
  shape.trailing_blanks = text.size() - trimmed.size();
  shape.ends_with_ellipsis = trimmed.ends_with("...");
  shape.ends_with_colon = trimmed.ends_with(':');
  shape.ends_with_percent = trimmed.ends_with('%');
  static const std::regex kKeyHint(R"(\(CTRL\+[^)]*\))");
  std::match_results<std::string_view::const_iterator> hint;
  if (std::regex_search(text.begin(), text.end(), hint, kKeyHint)) shape.key_hint = hint.str();
  shape.ampersands = static_cast<std::size_t>(std::count(text.begin(), text.end(), '&'));
  shape.line_breaks = static_cast<std::size_t>(std::count(text.begin(), text.end(), '\n'));
  return shape;
}

TEST(LanguageTable, KeepsWhatTheProgramAndTheOperatorRelyOn) {
  for (const auto& key : TranslatableTexts()) {
    EXPECT_LE(ShapeOf(key).ampersands, 1u) << "\"" << key << "\"";
    for (const auto language : kTranslatedLanguages) {
      const std::string text = TranslateText(language, key);
      EXPECT_EQ(ShapeOf(text), ShapeOf(key)) << "\"" << key << "\" in " << NameOf(language) << ": \"" << text << "\"";
      const auto accelerator = text.find('&');
      if (accelerator != std::string::npos) {
        EXPECT_TRUE(accelerator + 1 < text.size() && text[accelerator + 1] != ' ')
            << "\"" << text << "\" marks no letter";
      }
    }
  }
}

// ---- The texts the sources translate

// The first arguments of the calls of Translate in `source` that are string literals, adjacent
// literals joined and escapes decoded.
std::vector<std::string> TranslatedLiterals(const std::string& source) {
  static const std::regex kCall(R"re((^|\W)Translate\(\s*((?:"(?:[^"\\]|\\.)*"\s*)+)[,)])re");
  static const std::regex kPiece(R"re("((?:[^"\\]|\\.)*)")re");
  std::vector<std::string> literals;
  for (std::sregex_iterator call(source.begin(), source.end(), kCall), end; call != end; ++call) {
    std::string text;
    const std::string pieces = (*call)[2];
    for (std::sregex_iterator piece(pieces.begin(), pieces.end(), kPiece); piece != end; ++piece) {
      const std::string body = (*piece)[1];
      for (std::size_t at = 0; at < body.size(); ++at) {
        const char escaped = body[at] == '\\' ? body[++at] : '\0';
        if (!escaped)
          text += body[at];
        else if (escaped == 'n' || escaped == 't')
          text += escaped == 'n' ? '\n' : '\t';
        else if (escaped == '"' || escaped == '\\' || escaped == '\'')
          text += escaped;
        else
          throw std::invalid_argument("an escape the scan does not decode: \\" + std::string(1, escaped));
      }
    }
    literals.push_back(text);
  }
  return literals;
}

TEST(TranslatedLiterals, TakesOnlyALiteralThatIsTheWholeFirstArgument) {
  const std::string source = R"(
    a = program_.Translate("Plain");
    b = Translate( "Quote \" backslash \\ break\n" , 0);
    c = Translate("Joined " "parts");
    d = program.Translate(
        "Next line");
    e = Translate(prompt);
    f = Translate("Not alone" + name);
    g = NoTranslate("Other call");
    std::string Program::Translate(const std::string& key, int) const { return key; }
  )";
  EXPECT_EQ(TranslatedLiterals(source),
            (std::vector<std::string>{"Plain", "Quote \" backslash \\ break\n", "Joined parts", "Next line"}));
}

std::string ReadFile(const std::filesystem::path& path) {
  std::ifstream file(path, std::ios::binary);
  if (!file) throw std::runtime_error("cannot read " + path.string());
  std::ostringstream content;
  content << file.rdbuf();
  return content.str();
}

TEST(LanguageTable, HoldsEveryTextTheSourcesTranslate) {
  const auto& texts = TranslatableTexts();
  const std::set<std::string> catalogue(texts.begin(), texts.end());
  std::size_t calls = 0;
  for (const char* folder :
       {"core", "ui", "capture", "image", "platform", "triggers", "movie", "net", "peripherals", "apps", "gui"}) {
    const auto root = std::filesystem::path(ZR_SOURCE_DIR) / folder;
    if (!std::filesystem::exists(root)) continue;
    for (const auto& entry : std::filesystem::recursive_directory_iterator(root)) {
      const auto extension = entry.path().extension();
      if (!entry.is_regular_file() || (extension != ".cpp" && extension != ".h")) continue;
      for (const auto& literal : TranslatedLiterals(ReadFile(entry.path()))) {
        ++calls;
        EXPECT_TRUE(catalogue.contains(literal))
            << entry.path().string() << " translates \"" << literal << "\", which the table does not hold";
      }
    }
  }
  EXPECT_GT(calls, 0u) << "no call of Translate found under " << ZR_SOURCE_DIR;
}

// ---- Lookup

TEST(TranslateText, GivesTheTextOfTheAskedLanguageAndAnUnknownTextBackUnchanged) {
  const std::string_view stopped[] = {"Stopped", "Parado", "Detenido", "Arrêté", "Angehalten"};
  for (const auto language :
       {Language::English, Language::Portuguese, Language::Spanish, Language::French, Language::German}) {
    EXPECT_EQ(TranslateText(language, "Stopped"), stopped[static_cast<int>(language)]) << NameOf(language);
    EXPECT_EQ(TranslateText(language, "A text nobody wrote"), "A text nobody wrote") << NameOf(language);
    EXPECT_EQ(TranslateText(language, "stopped"), "stopped") << NameOf(language) << ": keys match exactly";
    EXPECT_EQ(TranslateText(language, ""), "") << NameOf(language);
  }
}

// ---- Choice of the language

TEST(LanguageOfLocale, ReadsTheLanguageAtTheHeadOfTheName) {
  const std::pair<std::string_view, Language> cases[] = {
      {"pt_BR.UTF-8", Language::Portuguese},
      {"es", Language::Spanish},
      {"fr_FR.ISO-8859-1", Language::French},
      {"de_AT.UTF-8@euro", Language::German},
      {"en_GB", Language::English},
      {"C.UTF-8", Language::English},
      {"", Language::English},
      {"it_IT.UTF-8", Language::English},
      // Other languages whose codes begin with the same letters.
      {"frr_DE", Language::English},
  };
  for (const auto& [locale, language] : cases) EXPECT_EQ(LanguageOfLocale(locale), language) << locale;
}

TEST(DesktopLanguage, TakesTheFirstVariableThatIsSet) {
  EXPECT_EQ(DesktopLanguage("fr_FR.UTF-8", "es_ES.UTF-8", "de_DE.UTF-8"), Language::French);
  EXPECT_EQ(DesktopLanguage("", "es_ES.UTF-8", "de_DE.UTF-8"), Language::Spanish);
  EXPECT_EQ(DesktopLanguage("", "", "pt_BR.UTF-8"), Language::Portuguese);
  EXPECT_EQ(DesktopLanguage("", "", ""), Language::English);
  // LC_ALL=C asks for the untranslated program whatever LANG says.
  EXPECT_EQ(DesktopLanguage("C", "", "de_DE.UTF-8"), Language::English);
}

TEST(LanguageOfOption, AcceptsTheFiveCodesAndTheirLocales) {
  const std::pair<std::string_view, std::optional<Language>> cases[] = {
      {"en", Language::English},   {"pt", Language::Portuguese},
      {"es", Language::Spanish},   {"fr", Language::French},
      {"de", Language::German},    {"pt_BR", Language::Portuguese},
      {"de-CH", Language::German}, {"en_GB.UTF-8", Language::English},
      {"", std::nullopt},          {"it", std::nullopt},
      {"C", std::nullopt},         {"english", std::nullopt},
      {"frr", std::nullopt},       {"p", std::nullopt}};
  for (const auto& [option, language] : cases) EXPECT_EQ(LanguageOfOption(option), language) << "\"" << option << "\"";
}

}  // namespace

void PrintTo(Language language, std::ostream* out) { *out << NameOf(language); }

}  // namespace zr
