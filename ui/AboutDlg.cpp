// The About box laid out from its dialog template.
#include "ui/AboutDlg.h"

#include <QApplication>
#include <QGroupBox>
#include <QLabel>
#include <QPushButton>

#include "foundation/ResString.h"
#include "persist/AppInfo.h"
#include "platform/Shell.h"
#include "resources/StringIds.h"
#include "ui/AppIcon.h"
#include "ui/ControlId.h"
#include "ui/ControlText.h"
#include "ui/DialogUnits.h"
#include "ui/LinkLabel.h"

namespace {

QString Text(u32 id) {
    std::wstring text;
    LoadResString(text, id, true);
    return QString::fromStdWString(text);
}

QLabel* AddLabel(QWidget* parent, i32 id, QRect rect) {
    auto* label = new QLabel(parent);
    SetControlId(label, id);
    label->setGeometry(rect);
    label->setTextFormat(Qt::PlainText);
    return label;
}

// Japanese text is wider than the Latin average that dialog units are made from: a label grows
// to the right to show its whole text.
void FitWidth(QLabel* label) {
    int wanted = label->sizeHint().width();
    if (wanted > label->width())
        label->resize(wanted, label->height());
}

} // namespace

CAboutDlg::CAboutDlg(QWidget* owner) : QDialog(owner), beep(&QApplication::beep) {
    setWindowTitle(Text(strid::kAboutCaption));
    setModal(true);
    CDialogUnits du(font());
    setFixedSize(du.Size(332, 108));

    auto* group = new QGroupBox(this);
    group->setGeometry(du.Rect(7, 7, 318, 48));

    auto* icon = AddLabel(this, aboutctl::kIcon, du.Rect(19, 23, 20, 20));
    icon->setAlignment(Qt::AlignLeft | Qt::AlignTop);
    icon->setPixmap(AppLargeIcon());

    CAppInfo& info = TheAppInfo();
    QLabel* title = AddLabel(this, aboutctl::kTitle, du.Rect(56, 23, 137, 8));
    SetControlText(title, info.TitleAndVersion(), true);
    QLabel* copyright = AddLabel(this, aboutctl::kCopyright, du.Rect(56, 35, 164, 8));
    SetControlText(copyright, info.Copyright(), true);
    QLabel* more = AddLabel(this, 0, du.Rect(17, 66, 108, 8));
    more->setText(Text(strid::kAboutMore));
    for (QLabel* label : {title, copyright, more})
        FitWidth(label);

    link_ = new CLinkLabel(this);
    SetControlId(link_, aboutctl::kLink);
    link_->setGeometry(du.Rect(137, 66, 187, 8));
    if (!info.HomeAddress().empty())
        SetControlText(link_, info.HomeAddress(), true);
    FitWidth(link_);
    connect(link_, &CLinkLabel::clicked, this, [this] { OpenLink(); });

    auto* ok = new QPushButton(Text(strid::kOkButton), this);
    SetControlId(ok, 1);
    ok->setGeometry(du.Rect(7, 85, 318, 16));
    ok->setDefault(true);
    ok->setFocus();
    connect(ok, &QPushButton::clicked, this, &QDialog::accept);
}

void CAboutDlg::OpenLink() {
    std::wstring address;
    GetControlTextTrimmed(link_, address, true);
    // The opener may answer after the box has gone: the handler holds its own copy of the beep.
    std::function<void()> onFailure = beep;
    if (address.empty()) {
        onFailure();
        return;
    }
    try {
        ShellOpen(address, L"", [onFailure](const my::CException&) { onFailure(); });
    } catch (const my::CException&) {
        onFailure();
    }
}
