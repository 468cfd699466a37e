// Qt's translations and Qt's own settings.
#include "platform/qt/QtOwnParts.h"

#include <QCoreApplication>
#include <QLibraryInfo>
#include <QLocale>
#include <QSettings>
#include <QTranslator>

namespace {

constexpr u16 kJapanese = 1041;

} // namespace

bool InstallQtTranslations(u16 language) {
    QCoreApplication* application = QCoreApplication::instance();
    if (!application || language != kJapanese)
        return false;
    auto* translator = new QTranslator(application);
    if (!translator->load(QLocale(QLocale::Japanese, QLocale::Japan), QStringLiteral("qtbase"),
                          QStringLiteral("_"),
                          QLibraryInfo::path(QLibraryInfo::TranslationsPath)) ||
        !QCoreApplication::installTranslator(translator)) {
        delete translator;
        return false;
    }
    return true;
}

void KeepQtSettingsInMemory() {
    // A folder below /dev/null can neither be made nor read, by any user: Qt finds no file there,
    // and its save fails before anything is written.
    const QString nowhere = QStringLiteral("/dev/null/qt");
    for (QSettings::Format format : {QSettings::NativeFormat, QSettings::IniFormat})
        QSettings::setPath(format, QSettings::UserScope, nowhere);
}
