#include "gui/toolkit_language.h"

#include <gtest/gtest.h>

#include <QDialogButtonBox>
#include <QPushButton>
#include <utility>

namespace zr::gui {
namespace {

// The words of the toolkit's standard buttons, as a message box or a dialog shows them.
QString ButtonWords(QDialogButtonBox::StandardButtons buttons) {
  QDialogButtonBox box(buttons);
  QString words;
  for (QAbstractButton* button : box.buttons()) words += button->text() + "|";
  return words;
}

// The message boxes' and the toolkit dialogs' own buttons speak the program's language, and
// English again when it is chosen.
TEST(ToolkitLanguage, TheToolkitsOwnButtonsSpeakTheProgramsLanguage) {
  const auto buttons = QDialogButtonBox::Yes | QDialogButtonBox::No | QDialogButtonBox::Cancel;
  UseToolkitLanguage(Language::English);
  const QString english = ButtonWords(buttons);
  for (const auto& [language, yes] : {std::pair{Language::Portuguese, "Sim"}, std::pair{Language::Spanish, "Sí"},
                                      std::pair{Language::French, "Oui"}, std::pair{Language::German, "Ja"}}) {
    UseToolkitLanguage(language);
    const QString words = ButtonWords(buttons);
    EXPECT_TRUE(QString(words).remove('&').contains(yes)) << words.toStdString();
    EXPECT_EQ(Translate("Stopped"), QString::fromStdString(TranslateText(language, "Stopped")));
  }
  UseToolkitLanguage(Language::English);
  EXPECT_EQ(ButtonWords(buttons), english);
  EXPECT_EQ(Translate("Stopped"), "Stopped");
}

}  // namespace
}  // namespace zr::gui
