// The About box (dialog 58370): icon, title and version, copyright, the home address as a link.
#pragma once

#include <functional>

#include <QDialog>

class CLinkLabel;

class CAboutDlg : public QDialog {
public:
    explicit CAboutDlg(QWidget* owner);

    // Hands the trimmed text of the link label to the desktop's opener and returns; a failure is
    // a beep, also when the opener reports it after the box has closed.
    void OpenLink();

    // What a failure does: QApplication::beep, or a test's recorder. OpenLink takes a copy.
    std::function<void()> beep;

private:
    CLinkLabel* link_ = nullptr;
};
