// Modal message boxes in tests: what the next box showed, and an answer to it.
#pragma once

#include <functional>

#include <QAbstractButton>
#include <QApplication>
#include <QMessageBox>
#include <QStringList>
#include <QTimer>

namespace testutil {

struct SeenBox {
    QString title;
    QString text;
    QMessageBox::Icon icon = QMessageBox::NoIcon;
    QStringList buttons;
    QWidget* parent = nullptr;
};

// Waits in the event loop for the next modal box, records it in seen and acts on it.
inline void OnNextBox(SeenBox& seen, std::function<void(QMessageBox*)> act) {
    QTimer::singleShot(0, [&seen, act] {
        auto* box = qobject_cast<QMessageBox*>(QApplication::activeModalWidget());
        if (!box) {
            OnNextBox(seen, act);
            return;
        }
        seen.title = box->windowTitle();
        seen.text = box->text();
        seen.icon = box->icon();
        for (QAbstractButton* button : box->buttons())
            seen.buttons << QString::number(box->standardButton(button));
        seen.parent = box->parentWidget();
        act(box);
    });
}

inline void Click(QMessageBox* box, QMessageBox::StandardButton which) {
    box->button(which)->click();
}

} // namespace testutil
