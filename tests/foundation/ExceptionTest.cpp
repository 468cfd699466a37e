// Tests of the failure value and the exceptions: ids, result codes and composed texts.
#include "foundation/Exception.h"

#include <gtest/gtest.h>

#include "foundation/ResultText.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"
#include "support/Thrown.h"

TEST(Exception, ComposeError) {
    // Texts of none to two arguments are composed through the exceptions in GuardedCallTest.
    CLanguageGuard guard(1041);
    EXPECT_EQ(ComposeError(strid::kVersionValueMissing, L"1", L"2", L"3", L"4", L"5", L"6"),
              L"バージョン情報が見つかりません\n\n1\n2");
    EXPECT_THROW(ComposeError(60999), my::CException);

    CSimpleErr error;
    error.ComposeError(strid::kEmptySubFolder);
    EXPECT_EQ(error.id, 0);
    EXPECT_EQ(error.text, L"サブフォルダ名が空です");
}

TEST(Exception, SimpleErrSettersAndTheMessagesOfCastsAndTooLongTexts) {
    CLanguageGuard guard(1033);
    CSimpleErr error;
    EXPECT_FALSE(error.IsError());
    error.SetErrorResult(strid::kCreateFolderFailed, 0x80070005, L"/out");
    EXPECT_EQ(error.id, strid::kCreateFolderFailed);
    EXPECT_EQ(error.hr, 0x80070005u);
    EXPECT_EQ(error.text, L"Failed to create folder - " + ResultText(0x80070005) + L"\n\n/out");
    EXPECT_TRUE(error.IsError());

    error.SetError(strid::kResizeFailed, L"x");
    EXPECT_EQ(error.hr, 0u);
    EXPECT_EQ(error.text, L"Failed to resize image - x");

    error.SetError(0, L"x");
    EXPECT_EQ(error.id, 0);
    EXPECT_EQ(error.hr, 0u);
    EXPECT_TRUE(error.text.empty());

    // A cast and a too long text have messages of their own.
    const auto e =
        testutil::Thrown([&] { ThrowCastError(L"i64", L"i32", static_cast<i64>(-5000000000)); });
    EXPECT_EQ(e.id, strid::kCastError);
    EXPECT_EQ(e.text, L"A value is too large to handle (i64 to i32): -5000000000");

    my::CException tooLong(strid::kStringTooLong, L"12345");
    EXPECT_EQ(tooLong.text, L"A text of the program is too long\n\nID: 12345");
}
