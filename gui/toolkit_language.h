#pragma once
// The language of the desktop's own words: the toolkit's dialogs and standard buttons (its
// translations, loaded for the program's language) and the few texts the face writes itself.

#include <QString>
#include <string>

#include "core/language.h"

namespace zr::gui {

// Speaks `language` from now on: the toolkit's translations of it replace those loaded before
// (English needs none). Choosing the language in use again changes nothing.
void UseToolkitLanguage(Language language);

// A fixed text of the face in the language in use; the text itself where the table has none.
QString Translate(const std::string& key);

}  // namespace zr::gui
