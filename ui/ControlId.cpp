// Resource ids on widgets, as a dynamic property.
#include "ui/ControlId.h"

#include <QVariant>
#include <QWidget>

namespace {
constexpr const char* kIdProperty = "lvxControlId";
}

void SetControlId(QWidget* control, i32 id) {
    if (control)
        control->setProperty(kIdProperty, id);
}

i32 ControlIdOf(const QWidget* control) {
    if (!control)
        return 0;
    return control->property(kIdProperty).toInt();
}

QWidget* FindControl(QWidget* root, i32 id) {
    if (!root || id == 0)
        return nullptr;
    if (ControlIdOf(root) == id)
        return root;
    for (QWidget* child : root->findChildren<QWidget*>())
        if (ControlIdOf(child) == id)
            return child;
    return nullptr;
}
