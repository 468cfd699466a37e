// The About box (dialog 58370): icon, title and version, copyright, the home address as a link.
#pragma once

#include <QDialog>

class CLinkLabel;

class CAboutDlg : public QDialog {
public:
    explicit CAboutDlg(QWidget* owner);

    // Opens the trimmed text of the link label in the browser; a failure is a beep.
    void OpenLink();

private:
    CLinkLabel* link_ = nullptr;
};
