// Field names from the window's captions, and the focus on a field at fault.
#include "ui/FieldAtFault.h"

#include <QComboBox>
#include <QLineEdit>
#include <QRegularExpression>
#include <QString>
#include <QWidget>

#include "foundation/Numbers.h"
#include "foundation/ResString.h"
#include "resources/StringIds.h"
#include "ui/MainView.h"

namespace lvx {

namespace {

struct FieldCaption {
    i32 control;
    u32 caption;
};

// The caption that names each field whose value is read as text or as a list entry.
constexpr FieldCaption kFieldCaptions[] = {
    {ctl::kCustomWidth, strid::kShrinkWidthField}, {ctl::kCustomHeight, strid::kShrinkHeightField},
    {ctl::kQualityNumber, strid::kQualityLabel},   {ctl::kColorText, strid::kBackgroundGroup},
    {ctl::kRadius, strid::kRadiusLabel},           {ctl::kRadiusUnit, strid::kRadiusUnitField},
    {ctl::kBlurWidth, strid::kBlurWidthField},     {ctl::kBlurUnit, strid::kBlurUnitField},
    {ctl::kSubFolder, strid::kSubFolderField},
};

// A caption as words: without its access key, whether "(&R)" or a marked letter, and without the
// colon and blanks at its end.
std::wstring Words(const std::wstring& caption) {
    QString text = QString::fromStdWString(caption);
    text.remove(QRegularExpression(QStringLiteral("\\(&.\\)")));
    text.remove(QRegularExpression(QStringLiteral("&(?=[^&])")));
    text.remove(QRegularExpression(QStringLiteral("[\\s:：]+$")));
    return text.trimmed().toStdWString();
}

} // namespace

std::wstring FieldName(i32 controlId) {
    for (const FieldCaption& field : kFieldCaptions) {
        if (field.control != controlId)
            continue;
        std::wstring caption;
        LoadResString(caption, field.caption, true);
        return Words(caption);
    }
    return ToText(controlId);
}

void FocusFieldAtFault(QWidget* control) {
    if (!control)
        return;
    control->activateWindow();
    control->setFocus(Qt::OtherFocusReason);
    QLineEdit* edit = qobject_cast<QLineEdit*>(control);
    if (auto* combo = qobject_cast<QComboBox*>(control))
        edit = combo->lineEdit();
    if (edit)
        edit->selectAll();
}

} // namespace lvx
