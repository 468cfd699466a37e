// The registry's text export format ("Windows Registry Editor Version 5.00"), read and written.
#pragma once

#include <vector>

#include "foundation/Types.h"
#include "platform/RegistryFile.h"

// The first line of every export.
constexpr const wchar_t* kRegistryExportHeader = L"Windows Registry Editor Version 5.00";

// Reads a whole export (UTF-16LE with a byte order mark, or UTF-8 with or without one) into tree,
// laying its sections over what tree holds. Sections must lie below HKEY_CURRENT_USER. Values are
// "text" (REG_SZ), dword:, hex: (REG_BINARY) and hex(n): of any type, with "\" continuing a hex
// list on the next line; "-" deletes a value and "[-...]" a key. False, with tree unchanged, on
// anything else.
bool ParseRegistryExport(const std::vector<u8>& fileBytes, CRegTree& tree);

// The export of tree: UTF-16LE with its byte order mark, CRLF line ends, one section for each key
// below the root, parents before children. A REG_SZ that is one clean text with its terminator is
// written quoted and a four-byte REG_DWORD as dword:; every other value as a hex list, wrapped
// like the registry editor wraps it.
std::vector<u8> FormatRegistryExport(const CRegTree& tree);
