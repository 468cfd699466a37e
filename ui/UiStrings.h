// Ids of the window's own captions in the string table (menu, About box).
#pragma once

#include "foundation/Types.h"

namespace uistr {
constexpr u32 kHelpMenu = 63000;      // "ヘルプ(&H)"
constexpr u32 kOpenHomePage = 63001;  // "ホームページを開く(&H)"
constexpr u32 kOpenUsagePage = 63002; // "使い方ページを開く(&U)"
constexpr u32 kAbout = 63003;         // "バージョン情報(&A)..."
constexpr u32 kAboutCaption = 63010;  // "バージョン情報"
constexpr u32 kAboutMore = 63011;     // "詳しくはホームページをご覧ください"
constexpr u32 kOk = 63012;            // "OK"
} // namespace uistr
