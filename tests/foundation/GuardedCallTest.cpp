// Tests of the exception barriers: the catch order and what each holder receives.
#include "foundation/GuardedCall.h"

#include <new>
#include <stdexcept>

#include <boost/regex.hpp>
#include <gtest/gtest.h>

#include "foundation/ResultText.h"
#include "resources/StringIds.h"
#include "support/LanguageGuard.h"

namespace {

int gControl = 0;

void ThrowCtrl() {
    throw my::CCtrlException(&gControl, strid::kValueNotPositive);
}

} // namespace

TEST(GuardedCall, NothingThrownClearsTheHolderAndSystemExceptionsKeepTheirFields) {
    my::CCtrlException holder(&gControl, 181);
    int seen = 0;
    GuardedCall(
        holder,
        [&](int a, int b) {
            seen = a + b;
            return 5;
        },
        2, 3);
    EXPECT_EQ(seen, 5);
    EXPECT_EQ(holder.id, 0);
    EXPECT_EQ(holder.hr, 0u);
    EXPECT_TRUE(holder.text.empty());
    EXPECT_EQ(holder.ctrl, nullptr);

    CLanguageGuard guard(1041);
    my::CCtrlException ctrlHolder;
    GuardedCall(ctrlHolder, ThrowCtrl);
    EXPECT_EQ(ctrlHolder.id, strid::kValueNotPositive);
    EXPECT_EQ(ctrlHolder.text, L"0 より大きい値を指定してください");
    EXPECT_EQ(ctrlHolder.ctrl, &gControl);

    // Other holders lose the control handle and nothing else.
    my::CException plainHolder(0);
    GuardedCall(plainHolder, ThrowCtrl);
    EXPECT_EQ(plainHolder.id, strid::kValueNotPositive);
    EXPECT_EQ(plainHolder.text, ctrlHolder.text);
    CSimpleErr simpleHolder;
    GuardedCall(simpleHolder, ThrowCtrl);
    EXPECT_EQ(simpleHolder.id, strid::kValueNotPositive);
    EXPECT_EQ(simpleHolder.text, ctrlHolder.text);

    // A plain exception gives a ctrl holder a null handle.
    GuardedCall(ctrlHolder, [] { throw my::CException(201, 0x80070002u); });
    EXPECT_EQ(ctrlHolder.id, strid::kLoadFailed);
    EXPECT_EQ(ctrlHolder.hr, 0x80070002u);
    EXPECT_EQ(ctrlHolder.text, L"画像の読み込みに失敗しました - " + ResultText(0x80070002));
    EXPECT_EQ(ctrlHolder.ctrl, nullptr);
}

TEST(GuardedCall, StandardAtlAndUnknownExceptions) {
    CLanguageGuard guard(1041);
    CSimpleErr holder;
    GuardedCall(holder, [] { throw std::bad_alloc(); });
    EXPECT_EQ(holder.id, strid::kStdException);
    EXPECT_EQ(holder.hr, 0u);
    std::string what = std::bad_alloc().what();
    EXPECT_EQ(holder.text,
              L"予期しないエラーが発生しました: " + std::wstring(what.begin(), what.end()));

    GuardedCall(holder, [] { throw ATL::CAtlException(0x80004005); });
    EXPECT_EQ(holder.id, strid::kAtlException);
    EXPECT_EQ(holder.hr, 0x80004005u);
    EXPECT_EQ(holder.text,
              L"予期しないエラーが発生しました (エラー コード): " + ResultText(0x80004005));

    GuardedCall(holder, [] { throw 42; });
    EXPECT_EQ(holder.id, strid::kUnknownException);
    EXPECT_EQ(holder.hr, 0u);
    EXPECT_EQ(holder.text, L"予期しないエラーが発生しました");
}

TEST(GuardedCall, WhatIsCutAt255BytesAndSignExtended) {
    CLanguageGuard guard(1033);
    std::string longWhat(300, 'a');
    longWhat[254] = 'z';
    CSimpleErr holder;
    GuardedCall(holder, [&] { throw std::runtime_error(longWhat); });
    EXPECT_EQ(holder.id, strid::kStdException);
    EXPECT_EQ(holder.text, L"An unexpected error occurred: " + std::wstring(254, L'a') + L"z");

    // "é" in UTF-8 is the bytes C3 A9; each becomes one character, sign-extended to 16 bits.
    std::wstring wide = WideFromWhat(std::runtime_error("\xC3\xA9!"));
    EXPECT_EQ(wide,
              (std::wstring{static_cast<wchar_t>(0xFFC3), static_cast<wchar_t>(0xFFA9), L'!'}));
}

TEST(GuardedCall, RegexErrors) {
    CLanguageGuard guard(1041);
    struct Case {
        const wchar_t* pattern;
        i32 id;
        const wchar_t* text;
    };
    // Two rows of the table of codes with a message of their own; the rows are the table's.
    const Case cases[] = {
        {L"(a", strid::kRegexParenthesis, L"() の対応がとれていません"},
        {L"(a)\\2", strid::kRegexBackReference, L"存在しない部分文字列を参照しています"},
    };
    for (const Case& c : cases) {
        my::CCtrlException holder;
        GuardedCall(holder, [&] { boost::wregex r(c.pattern); });
        EXPECT_EQ(holder.id, c.id) << c.pattern;
        EXPECT_EQ(holder.hr, 0u);
        EXPECT_EQ(holder.text, c.text);
    }

    // A code without a message of its own (an unterminated Perl extension) takes what()'s text.
    CLanguageGuard english(1033);
    std::string what;
    try {
        boost::wregex r(L"(?<x");
    } catch (const boost::regex_error& e) {
        what = e.what();
    }
    ASSERT_FALSE(what.empty());
    CSimpleErr holder;
    GuardedCall(holder, [] { boost::wregex r(L"(?<x"); });
    EXPECT_EQ(holder.id, strid::kRegexError);
    EXPECT_EQ(holder.text, L"Regular expression error: " + std::wstring(what.begin(), what.end()));
}
