// Tests of the command guard: one box per failure, focus on the control at fault before the box,
// the rethrown copy, and checks that tell nothing.
#include "app/Command.h"

#include <gtest/gtest.h>

#include <functional>
#include <stdexcept>

#include <QLineEdit>
#include <QMessageBox>
#include <QVBoxLayout>
#include <QtTest/QTest>

#include "foundation/ResString.h"
#include "platform/qt/MessageBoxMsg.h"
#include "resources/StringIds.h"
#include "support/RecordingMsg.h"
#include "support/Thrown.h"

namespace {

// A command whose body is given by the test; it records the run flags it was called with.
class CScriptedCommand : public CCommand {
public:
    CScriptedCommand(CMsg* msg, std::function<void(bool)> body)
        : CCommand(msg), body_(std::move(body)) {}
    void OnExecute(bool run) override {
        runs.push_back(run);
        body_(run);
    }
    std::vector<bool> runs;

private:
    std::function<void(bool)> body_;
};

// Records which widget had the focus when a box came up.
class CFocusRecordingMsg : public CRecordingMsg {
public:
    i32 Show(const std::wstring& text, u32 flags) override {
        focusAtBox = QApplication::focusWidget();
        return CRecordingMsg::Show(text, flags);
    }
    QWidget* focusAtBox = nullptr;
};

// A shown and active window with two edits, the focus on the first.
class CommandTest : public ::testing::Test {
protected:
    void SetUp() override {
        auto* layout = new QVBoxLayout(&window);
        layout->addWidget(first);
        layout->addWidget(atFault);
        window.show();
        window.activateWindow();
        ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
        first->setFocus();
        QCoreApplication::processEvents();
        ASSERT_TRUE(first->hasFocus());
    }

    QWidget window;
    QLineEdit* first = new QLineEdit(&window);
    QLineEdit* atFault = new QLineEdit(&window);
};

TEST_F(CommandTest, FailingExecuteShowsOneBoxAndMovesTheFocusFirst) {
    CFocusRecordingMsg msg;
    CScriptedCommand command(
        &msg, [fault = atFault](bool) { throw my::CCtrlException(fault, strid::kEmptyIdList); });
    atFault->setText(QStringLiteral("bad value"));
    command.Execute(true, false);
    QCoreApplication::processEvents();
    // Its text is selected: typing replaces it.
    EXPECT_EQ(atFault->selectedText(), QStringLiteral("bad value"));
    ASSERT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(msg.boxes[0].text, L"開く場所が指定されていません");
    EXPECT_EQ(msg.boxes[0].flags, 16u);
    EXPECT_EQ(msg.focusAtBox, atFault);
    EXPECT_TRUE(atFault->hasFocus());
    EXPECT_EQ(QApplication::focusWidget(), atFault);
    EXPECT_EQ(command.runs, std::vector<bool>{true});

    // A failure that names no control leaves the focus where it is.
    first->setFocus();
    QCoreApplication::processEvents();
    CScriptedCommand plain(&msg, [](bool) { throw my::CException(193); });
    plain.Execute(true, false);
    QCoreApplication::processEvents();
    ASSERT_EQ(msg.boxes.size(), 2u);
    EXPECT_EQ(msg.boxes[1].text, L"出力先フォルダーが、未設定です");
    EXPECT_TRUE(first->hasFocus());
}

TEST_F(CommandTest, RethrowGivesTheSameFailureAfterTheBox) {
    CRecordingMsg msg;
    QLineEdit* control = atFault;
    CScriptedCommand command(&msg, [control](bool) {
        throw my::CCtrlException(control, strid::kShellOpenFailed, HResult{0x80070002},
                                 L"https://example.invalid/");
    });
    my::CCtrlException original(control, strid::kShellOpenFailed, HResult{0x80070002},
                                L"https://example.invalid/");
    const auto e = testutil::Thrown<my::CCtrlException>([&] { command.Execute(true, true); });
    EXPECT_EQ(msg.boxes.size(), 1u);
    EXPECT_EQ(e.id, strid::kShellOpenFailed);
    EXPECT_EQ(e.hr, 0x80070002u);
    EXPECT_EQ(e.text, original.text);
    EXPECT_EQ(e.ctrl, static_cast<CtrlHandle>(control));
    EXPECT_EQ(msg.boxes[0].text, original.text);
    EXPECT_EQ(original.text.rfind(L"ファイルを開けませんでした - ", 0), 0u);
}

TEST_F(CommandTest, CanExecuteRunsTheChecksSilently) {
    CRecordingMsg msg;
    CScriptedCommand failing(
        &msg, [fault = atFault](bool) { throw my::CCtrlException(fault, strid::kEmptyIdList); });
    EXPECT_FALSE(failing.CanExecute());
    EXPECT_EQ(failing.runs, std::vector<bool>{false});
    QCoreApplication::processEvents();
    EXPECT_TRUE(msg.boxes.empty());
    EXPECT_TRUE(first->hasFocus());

    CScriptedCommand passing(&msg, [](bool) {});
    EXPECT_TRUE(passing.CanExecute());

    // ExecuteQuietly runs the act and drops its failure (the texts of foreign exceptions are the
    // guarded call's test).
    CScriptedCommand quiet(&msg, [](bool) { throw std::runtime_error("disk on fire"); });
    quiet.ExecuteQuietly();
    EXPECT_EQ(quiet.runs, std::vector<bool>{true});
    EXPECT_TRUE(msg.boxes.empty());
}

// A failure that comes after its command is over is a box that waits for no answer: the call
// returns with the box up, and no window is blocked by it, so the next drop is taken.
TEST_F(CommandTest, ALateFailureIsABoxThatBlocksNoWindow) {
    CMessageBoxMsg msg;
    CScriptedCommand command(&msg, [](bool) {});
    const my::CException failure(strid::kNoDropWhileRunning);
    command.LateFailureHandler()(failure);
    QMessageBox* box = window.findChild<QMessageBox*>(); // owned by the active window
    ASSERT_TRUE(box && box->isVisible());
    EXPECT_EQ(box->text().toStdWString(), failure.text);
    EXPECT_TRUE(!QGuiApplication::modalWindow() && !QApplication::activeModalWidget());
}

} // namespace
