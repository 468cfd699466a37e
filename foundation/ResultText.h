// The system's text of a result code, in the language of the user interface.
// Any thread.
#pragma once

#include <string>

#include "foundation/Types.h"

// The text of a result code, trimmed of blanks and line breaks at both ends:
// - a code of facility 0x00080000 is looked up by its low 16 bits, every other code whole;
// - a Win32 code (a code up to 0xFFFF, or 0x8007xxxx) with a text of our own table comes from the
//   string table, else, when it stems from an errno value, from the C library (strerror_l) in the
//   UI language (the C locale's English when the Japanese locale is not installed);
// - the COM codes of our own table (E_FAIL, E_NOTIMPL, E_ABORT, ...) and the program's own codes
//   (hr::kNotOrdinaryFile, hr::kImageTooLarge, hr::kTooManyScans) come from the string table;
// - anything else is strid::kResultUnknown with the code in lower-case hexadecimal.
std::wstring ResultText(HResult code);
