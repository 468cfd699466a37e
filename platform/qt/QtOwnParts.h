// Qt's own parts of the window (the colour dialog, the buttons of message boxes) in the language
// of the program's texts, and without any state of their own on disk.
// The main thread only, once the QApplication exists.
#pragma once

#include "foundation/Types.h"

// Loads Qt's own translations for language (1041 Japanese; 1033 English, which Qt speaks
// already) into the running application. False when there is nothing to load or the
// translations are not installed: Qt's dialogs then speak English.
bool InstallQtTranslations(u16 language);

// Puts the settings that Qt keeps for itself (the colour dialog's custom colours) where nothing
// can be read or written, so that the program keeps no state outside its own settings file and
// its log. What Qt holds of them lives as long as the process.
void KeepQtSettingsInMemory();
