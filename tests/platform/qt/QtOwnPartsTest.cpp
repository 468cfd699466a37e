// Tests of Qt's own parts of the window: its dialogs in Japanese and its settings kept off disk.
#include "platform/qt/QtOwnParts.h"

#include <gtest/gtest.h>

#include <filesystem>

#include <QAbstractButton>
#include <QColorDialog>
#include <QLabel>
#include <QMessageBox>
#include <QRegularExpression>

#include "support/XdgSandbox.h"

namespace {

namespace fs = std::filesystem;

// The texts that a user reads in a dialog: its title, its labels and its buttons.
QStringList VisibleTexts(QWidget& dialog) {
    QStringList texts{dialog.windowTitle()};
    for (QLabel* label : dialog.findChildren<QLabel*>())
        texts << label->text();
    for (QAbstractButton* button : dialog.findChildren<QAbstractButton*>())
        texts << button->text();
    texts.removeAll(QString());
    return texts;
}

// An English word of three letters or more ("Cancel", "Basic colors"); the Japanese texts keep
// at most short names such as "HTML" or "OK".
bool HasEnglishWord(const QString& text) {
    static const QRegularExpression word(QStringLiteral("[A-Za-z]{3,}"));
    QString plain = text;
    plain.remove(QLatin1Char('&'));
    plain.remove(QStringLiteral("HTML"));
    return plain.contains(word);
}

TEST(QtOwnPartsTest, DialogsAndBoxButtonsSpeakJapanese) {
    EXPECT_FALSE(InstallQtTranslations(1033)) << "Qt speaks English already";
    ASSERT_TRUE(InstallQtTranslations(1041)) << "qt6-translations-l10n is installed by setup";
    QMessageBox box;
    box.setStandardButtons(QMessageBox::Yes | QMessageBox::No | QMessageBox::Cancel);
    for (auto which : {QMessageBox::Yes, QMessageBox::No, QMessageBox::Cancel}) {
        const QString text = box.button(which)->text();
        EXPECT_FALSE(text.isEmpty());
        EXPECT_FALSE(HasEnglishWord(text)) << text.toStdString();
    }
    QColorDialog dialog;
    const QStringList texts = VisibleTexts(dialog);
    EXPECT_GT(texts.size(), 10);
    for (const QString& text : texts)
        EXPECT_FALSE(HasEnglishWord(text)) << text.toStdString();
}

TEST(QtOwnPartsTest, TheColourDialogWritesNoFileAndKeepsItsColoursForTheRun) {
    XdgSandbox sandbox;
    KeepQtSettingsInMemory();
    QColorDialog::setCustomColor(3, QColor(12, 34, 56));
    { QColorDialog dialog; }
    { QColorDialog dialog; }
    EXPECT_EQ(QColorDialog::customColor(3), QColor(12, 34, 56));
    std::vector<fs::path> written;
    for (const auto& entry : fs::recursive_directory_iterator(sandbox.Root()))
        if (entry.is_regular_file())
            written.push_back(entry.path());
    EXPECT_TRUE(written.empty()) << written.front();
}

} // namespace
