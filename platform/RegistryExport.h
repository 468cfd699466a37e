// The registry's text export format ("Windows Registry Editor Version 5.00"), read and written.
// Any thread: the functions keep no state.
#pragma once

#include <cstddef>
#include <vector>

#include "foundation/Types.h"
#include "platform/RegistryFile.h"

// The first line of every export.
constexpr const wchar_t* kRegistryExportHeader = L"Windows Registry Editor Version 5.00";

// The registry's documented limit on a key's name, which counts the whole path: a key's path below
// HKEY_CURRENT_USER has at most this many characters, and so at most 128 levels. Every key of a
// path is a key of its own with its whole path, and the export writes each of them in full: a
// bound on the path is what keeps the memory of a read, and the size of the next write, linear in
// the size of the file.
constexpr std::size_t kMostKeyPathChars = 255;
// Keys in all, the root among them. The program uses a few dozen; a file that lays out more (each
// line of a section may make up to 128 keys, each written back with its whole path) is not a
// settings file of ours.
constexpr std::size_t kMostKeys = 16384;

// Reads a whole export (UTF-16LE with a byte order mark, or UTF-8 with or without one) into tree,
// laying its sections over what tree holds. Sections must lie below HKEY_CURRENT_USER. Values are
// "text" (REG_SZ), dword:, hex: (REG_BINARY) and hex(n): of any type, with "\" continuing a hex
// list on the next line; "-" deletes a value and "[-...]" a key. False, with tree unchanged, on
// anything else, and on what could not be read exactly: bytes that are not valid UTF-8 in a file
// without the UTF-16 mark, a key path longer than kMostKeyPathChars, more than kMostKeys keys.
// Time and memory grow linearly with the file.
bool ParseRegistryExport(const std::vector<u8>& fileBytes, CRegTree& tree);

// The export of tree: UTF-16LE with its byte order mark, CRLF line ends, one section for each key
// below the root, parents before children. A REG_SZ that is one clean text with its terminator is
// written quoted and a four-byte REG_DWORD as dword:; every other value as a hex list, wrapped
// like the registry editor wraps it.
std::vector<u8> FormatRegistryExport(const CRegTree& tree);
