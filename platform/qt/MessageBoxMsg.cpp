// QMessageBox with the buttons, icons and answers of the Win32 box flags.
#include "platform/qt/MessageBoxMsg.h"

#include <QApplication>
#include <QMessageBox>
#include <QPushButton>
#include <QString>

#include <vector>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "resources/StringIds.h"

namespace {

// Win32 ids of the buttons.
constexpr i32 kIdOk = 1;
constexpr i32 kIdCancel = 2;
constexpr i32 kIdAbort = 3;
constexpr i32 kIdRetry = 4;
constexpr i32 kIdIgnore = 5;
constexpr i32 kIdYes = 6;
constexpr i32 kIdNo = 7;

struct ButtonRow {
    QMessageBox::StandardButton button;
    i32 id;
};

// The buttons of the low four bits of the flags, in their order on the box.
std::vector<ButtonRow> ButtonsOf(u32 flags) {
    switch (flags & 0x0F) {
    case 1:
        return {{QMessageBox::Ok, kIdOk}, {QMessageBox::Cancel, kIdCancel}};
    case 2:
        return {{QMessageBox::Abort, kIdAbort},
                {QMessageBox::Retry, kIdRetry},
                {QMessageBox::Ignore, kIdIgnore}};
    case 3:
        return {
            {QMessageBox::Yes, kIdYes}, {QMessageBox::No, kIdNo}, {QMessageBox::Cancel, kIdCancel}};
    case 4:
        return {{QMessageBox::Yes, kIdYes}, {QMessageBox::No, kIdNo}};
    case 5:
        return {{QMessageBox::Retry, kIdRetry}, {QMessageBox::Cancel, kIdCancel}};
    default:
        return {{QMessageBox::Ok, kIdOk}};
    }
}

QMessageBox::Icon IconOf(u32 flags) {
    switch (flags & 0xF0) {
    case 0x10:
        return QMessageBox::Critical;
    case 0x20:
        return QMessageBox::Question;
    case 0x30:
        return QMessageBox::Warning;
    case 0x40:
        return QMessageBox::Information;
    default:
        return QMessageBox::NoIcon;
    }
}

// The answer when the box is closed without a button: Cancel where there is one, No for Yes/No,
// OK for a box with OK alone. Never a positive answer of a question.
i32 CloseAnswer(const std::vector<ButtonRow>& rows) {
    for (const ButtonRow& row : rows)
        if (row.id == kIdCancel)
            return kIdCancel;
    for (const ButtonRow& row : rows)
        if (row.id == kIdNo)
            return kIdNo;
    return rows.size() == 1 ? rows.front().id : kIdCancel;
}

std::wstring LoadTitle(u32 id) {
    std::wstring text;
    LoadResString(text, id, true);
    return text;
}

} // namespace

const std::wstring& CMessageBoxMsg::TitleFor(u32 flags) {
    if ((flags & 0xF0) == 0x10) {
        static const std::wstring errorTitle = LoadTitle(strid::kErrorTitle);
        return errorTitle;
    }
    static const std::wstring queryTitle = LoadTitle(strid::kQueryTitle);
    return queryTitle;
}

i32 CMessageBoxMsg::Error(const CSimpleErr& error) {
    return Show(error.text, mb::kError);
}

void CMessageBoxMsg::Notify(const CSimpleErr& error) {
    QWidget* owner = QApplication::activeWindow();
    if (!owner)
        owner = static_cast<QWidget*>(owner_);
    auto* box =
        new QMessageBox(IconOf(mb::kError), QString::fromStdWString(TitleFor(mb::kError)),
                        QString::fromStdWString(ReadableText(error.text)), QMessageBox::Ok, owner);
    box->setAttribute(Qt::WA_DeleteOnClose);
    box->setWindowModality(Qt::NonModal);
    box->show();
}

i32 CMessageBoxMsg::Show(const std::wstring& text, u32 flags) {
    const std::wstring& title = TitleFor(flags);
    QWidget* owner = QApplication::activeWindow();
    if (!owner)
        owner = static_cast<QWidget*>(owner_);

    // A file name that is not UTF-8 shows each of its other bytes as \xNN.
    QMessageBox box(IconOf(flags), QString::fromStdWString(title),
                    QString::fromStdWString(ReadableText(text)), QMessageBox::NoButton, owner);
    std::vector<ButtonRow> rows = ButtonsOf(flags);
    for (const ButtonRow& row : rows)
        box.addButton(row.button);
    box.setDefaultButton(rows.front().button);
    if (QAbstractButton* escape = box.button(rows.size() == 1              ? rows.front().button
                                             : rows.back().id == kIdCancel ? QMessageBox::Cancel
                                                                           : rows.back().button))
        box.setEscapeButton(escape);
    box.exec();

    QAbstractButton* clicked = box.clickedButton();
    for (const ButtonRow& row : rows)
        if (clicked && clicked == box.button(row.button))
            return row.id;
    return CloseAnswer(rows);
}
