// The About box (dialog 58370): icon, title and version, copyright, the home address as a link.
// The main thread only (the window's), as every Qt object of the window.
#pragma once

#include <functional>

#include <QDialog>

class CLinkLabel;

// Control ids of the box's parts, by which tests find them; the link shares its id with the
// frame's command that opens the home page.
namespace aboutctl {
constexpr int kIcon = 58402;
constexpr int kTitle = 58403;
constexpr int kCopyright = 58404;
constexpr int kLink = 58387;
} // namespace aboutctl

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
