// The version resource of a file: its product version and copyright. The program carries its
// version block compiled in (resources/ResourceData.h); that block answers for the program's own
// file, and any other file reads as one without a version resource.
// Any thread.
#pragma once

#include <array>
#include <string>

#include "foundation/Types.h"
#include "resources/ResourceData.h"

// The path of the running program (/proc/self/exe); empty when it cannot be read.
std::wstring ProgramFilePath();

// Looks up a sub-block of a version block as the version API does: "\VarFileInfo\Translation"
// gives the translation pairs (language, code page), "\StringFileInfo\llllcccc\Name" the string
// Name of one translation, the eight digits in lower-case hexadecimal. False when there is no
// such sub-block.
bool QueryVersionString(const res::VersionBlock& block, const std::wstring& subBlock,
                        std::wstring& out);

// The version resource of one file. Every failure is a my::CException with one of the ids
// strid::kVersionSizeFailed, kVersionInfoFailed, kVersionValueMissing, kVersionValueEmpty and
// kBadVersion (or strid::kCastError for a number that does not fit 16 bits).
class CVersionInfo {
public:
    // Throws strid::kVersionSizeFailed (with the result code and path) when path has no version
    // resource.
    explicit CVersionInfo(const std::wstring& path);
    // Reads the given block as the resource of path, whatever path is.
    CVersionInfo(const std::wstring& path, const res::VersionBlock& block);

    // The four numbers of "\ProductVersion", split at "." and ","; missing numbers are 0 and
    // numbers behind the fourth are ignored.
    std::array<u16, 4> ReadProductVersion() const;
    std::wstring ReadLegalCopyright() const;
    // The string name ("\ProductVersion") of the first translation that has it, not empty.
    std::wstring ReadVersionString(const std::wstring& name) const;

private:
    std::wstring path_;
    const res::VersionBlock* block_;
};
