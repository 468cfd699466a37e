// Tests of the failure value and the exceptions: ids, result codes and composed texts.
#include "foundation/Exception.h"

#include <gtest/gtest.h>

#include "foundation/ResultText.h"
#include "support/LanguageGuard.h"
#include "support/Thrown.h"

TEST(Exception, ComposeError) {
    CLanguageGuard guard(1041);
    EXPECT_EQ(ComposeError(201, ResultText(0x80070002)),
              L"画像の読み込みに失敗しました - " + ResultText(0x80070002));
    EXPECT_EQ(ComposeError(58724), L"不明な例外が発生しました");
    EXPECT_EQ(ComposeError(188, std::wstring(L"/a/b.png")), L"ファイルパスが不正です\n\n/a/b.png");
    EXPECT_EQ(ComposeError(58703, L"/x", L"ignored"),
              L"指定のフォルダーは存在しません。作成しますか？\n\n/x");
    EXPECT_EQ(ComposeError(58900, L"1", L"2", L"3", L"4", L"5", L"6"),
              L"バージョン情報が見つかりません\n\n1\n2");
    EXPECT_THROW(ComposeError(60999), my::CException);

    CSimpleErr error;
    error.ComposeError(187);
    EXPECT_EQ(error.id, 0);
    EXPECT_EQ(error.text, L"サブフォルダ名が空です");
}

TEST(Exception, SimpleErrSetters) {
    CLanguageGuard guard(1033);
    CSimpleErr error;
    EXPECT_FALSE(error.IsError());
    error.SetErrorResult(58998, 0x80070005, L"/out");
    EXPECT_EQ(error.id, 58998);
    EXPECT_EQ(error.hr, 0x80070005u);
    EXPECT_EQ(error.text, L"Failed to create folder - " + ResultText(0x80070005) + L"\n\n/out");
    EXPECT_TRUE(error.IsError());

    error.SetError(59043, L"x");
    EXPECT_EQ(error.hr, 0u);
    EXPECT_EQ(error.text, L"Failed to resize image - x");

    error.SetError(0, L"x");
    EXPECT_EQ(error.id, 0);
    EXPECT_EQ(error.hr, 0u);
    EXPECT_TRUE(error.text.empty());
}

TEST(Exception, ThrowCastError) {
    CLanguageGuard guard(1033);
    const auto e =
        testutil::Thrown([&] { ThrowCastError(L"i64", L"i32", static_cast<i64>(-5000000000)); });
    EXPECT_EQ(e.id, 58726);
    EXPECT_EQ(e.text, L"Cast error i64 to i32: -5000000000");
}

TEST(Exception, TooLongTemplateTextIsReportedByItsOwnMessage) {
    CLanguageGuard guard(1033);
    my::CException e(58744, L"12345");
    EXPECT_EQ(e.text, L"Resource string data is too long\n\nID: 12345");
}
