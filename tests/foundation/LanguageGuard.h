// The language guard lives in support/; this name stays until the string-table test includes it
// from there.
#pragma once

#include "support/LanguageGuard.h"
