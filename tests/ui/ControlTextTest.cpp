// Tests of control text: reading, trimming, and writing only when the text changes.
#include "ui/ControlText.h"

#include <gtest/gtest.h>

#include <QCheckBox>
#include <QComboBox>
#include <QGroupBox>
#include <QLabel>
#include <QLineEdit>
#include <QSignalSpy>

#include "foundation/ResString.h"
#include "resources/StringIds.h"

namespace {

TEST(ControlTextTest, EqualTextIsNotWrittenAgainTrimmedReadsAndKindsOfControls) {
    QLineEdit edit;
    QSignalSpy changes(&edit, &QLineEdit::textChanged);
    EXPECT_TRUE(SetControlText(&edit, L"10.5", true));
    EXPECT_EQ(changes.count(), 1);
    edit.setCursorPosition(2);
    EXPECT_TRUE(SetControlText(&edit, L"10.5", true));
    EXPECT_EQ(changes.count(), 1);
    EXPECT_EQ(edit.cursorPosition(), 2);
    // Without onlyIfChanged the text is written; a different text raises the change.
    EXPECT_TRUE(SetControlText(&edit, L"10.5", false));
    EXPECT_EQ(edit.cursorPosition(), 4);
    EXPECT_TRUE(SetControlText(&edit, L"11", true));
    EXPECT_EQ(changes.count(), 2);
    std::wstring out;
    EXPECT_TRUE(GetControlText(&edit, out));
    EXPECT_EQ(out, L"11");

    edit.setText(QStringLiteral(" \t 200\r "));
    EXPECT_TRUE(GetControlTextTrimmed(&edit, out, true));
    EXPECT_EQ(out, L"200");
    EXPECT_TRUE(GetControlTextTrimmed(&edit, out, false));
    EXPECT_EQ(out, L" \t 200\r ");
    QLabel label(QStringLiteral("\r\n丸 め\n"));
    EXPECT_TRUE(GetControlTextTrimmed(&label, out, true));
    EXPECT_EQ(out, L"丸 め");

    EXPECT_TRUE(SetControlText(&label, L"状態", true));
    EXPECT_TRUE(GetControlText(&label, out));
    EXPECT_EQ(out, L"状態");

    QCheckBox check;
    EXPECT_TRUE(SetControlTextId(&check, strid::kErrorTitle, true));
    EXPECT_EQ(check.text(), QStringLiteral("エラー"));
    EXPECT_TRUE(SetControlTextId(&check, 0, true));
    EXPECT_EQ(check.text(), QString());

    QGroupBox group;
    EXPECT_TRUE(SetControlText(&group, L"縮小", true));
    EXPECT_EQ(group.title(), QStringLiteral("縮小"));

    QComboBox editable;
    editable.setEditable(true);
    editable.addItems({QStringLiteral("round"), QStringLiteral("out")});
    QSignalSpy edits(editable.lineEdit(), &QLineEdit::textChanged);
    EXPECT_TRUE(GetControlText(&editable, out));
    EXPECT_EQ(out, L"round");
    EXPECT_TRUE(SetControlText(&editable, L"round", true));
    EXPECT_EQ(edits.count(), 0);
    EXPECT_TRUE(SetControlText(&editable, L"new", true));
    EXPECT_EQ(editable.lineEdit()->text(), QStringLiteral("new"));

    // A drop-down list shows its entry and takes no text.
    QComboBox list;
    list.addItems({QStringLiteral("a"), QStringLiteral("b")});
    list.setCurrentIndex(1);
    EXPECT_TRUE(GetControlText(&list, out));
    EXPECT_EQ(out, L"b");
    EXPECT_TRUE(SetControlText(&list, L"b", true));
    EXPECT_FALSE(SetControlText(&list, L"c", true));

    EXPECT_FALSE(GetControlText(nullptr, out));
    EXPECT_FALSE(SetControlText(nullptr, L"x", true));
    QWidget plain;
    EXPECT_FALSE(GetControlText(&plain, out));
}

} // namespace
