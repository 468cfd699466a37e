// The main function of the test programs below the window layer: Japanese texts, as the program
// shows them, unless a test chooses another language; then every test.
#include <gtest/gtest.h>

#include "foundation/ResString.h"

int main(int argc, char** argv) {
    ::testing::InitGoogleTest(&argc, argv);
    SetUiLanguage(1041);
    return RUN_ALL_TESTS();
}
