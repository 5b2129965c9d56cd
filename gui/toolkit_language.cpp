#include "gui/toolkit_language.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QTranslator>
#include <optional>

namespace zr::gui {

namespace {

std::optional<Language> language_in_use;

// The name of the toolkit's translation of a language; Brazilian Portuguese is the program's.
const char* ToolkitTranslation(Language language) {
  switch (language) {
    case Language::English:
      return nullptr;
    case Language::Portuguese:
      return "qtbase_pt_BR";
    case Language::Spanish:
      return "qtbase_es";
    case Language::French:
      return "qtbase_fr";
    case Language::German:
      return "qtbase_de";
  }
  return nullptr;
}

QTranslator& Translator() {
  static QTranslator translator;
  return translator;
}

}  // namespace

void UseToolkitLanguage(Language language) {
  if (language_in_use == language) return;
  language_in_use = language;
  QCoreApplication::removeTranslator(&Translator());
  const char* name = ToolkitTranslation(language);
  // Without the translations installed the toolkit's own words stay English.
  if (name && Translator().load(name, QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
    QCoreApplication::installTranslator(&Translator());
}

QString Translate(const std::string& key) {
  return QString::fromStdString(TranslateText(language_in_use.value_or(Language::English), key));
}

}  // namespace zr::gui
