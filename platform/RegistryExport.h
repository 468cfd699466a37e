// The registry's text export format ("Windows Registry Editor Version 5.00"), read and written.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "platform/RegistryFile.h"

// The first line of every export.
constexpr const wchar_t* kRegistryExportHeader = L"Windows Registry Editor Version 5.00";

// The registry's own limits on a key: the length of one name and the depth of the tree.
constexpr std::size_t kMostKeyNameChars = 255;
constexpr std::size_t kMostKeyLevels = 512;

// Reads a whole export (UTF-16LE with a byte order mark, or UTF-8 with or without one) into tree,
// laying its sections over what tree holds. Sections must lie below HKEY_CURRENT_USER. Values are
// "text" (REG_SZ), dword:, hex: (REG_BINARY) and hex(n): of any type, with "\" continuing a hex
// list on the next line; "-" deletes a value and "[-...]" a key. False, with tree unchanged, on
// anything else, and on what could not be read exactly: bytes that are not valid UTF-8 in a file
// without the UTF-16 mark, a key name longer than kMostKeyNameChars, a key deeper than
// kMostKeyLevels below HKEY_CURRENT_USER. Time and memory grow linearly with the file.
bool ParseRegistryExport(const std::vector<u8>& fileBytes, CRegTree& tree);

// The export of tree: UTF-16LE with its byte order mark, CRLF line ends, one section for each key
// below the root, parents before children. A REG_SZ that is one clean text with its terminator is
// written quoted and a four-byte REG_DWORD as dword:; every other value as a hex list, wrapped
// like the registry editor wraps it.
std::vector<u8> FormatRegistryExport(const CRegTree& tree);
