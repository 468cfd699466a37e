// Test helper: sets the UI language for one test and restores the previous one afterwards.
#pragma once

#include "foundation/ResString.h"

class CLanguageGuard {
public:
    explicit CLanguageGuard(u16 language) : saved_(UiLanguage()) { SetUiLanguage(language); }
    ~CLanguageGuard() { SetUiLanguage(saved_); }
    CLanguageGuard(const CLanguageGuard&) = delete;
    CLanguageGuard& operator=(const CLanguageGuard&) = delete;

private:
    u16 saved_;
};
