// The files of the folders among a batch's sources: the images below each folder, so that a
// dropped or named folder converts as its images would one by one.
// Threads: the thread that starts the batch, before the plan.
#pragma once

#include <cstddef>
#include <string>
#include <vector>

class CSetting;

namespace lvx {

struct SourceScan {
    // The sources in their order, each folder replaced by the images below it.
    std::vector<std::wstring> files;
    std::size_t folders = 0; // folders entered, the named ones among them
    std::size_t skipped = 0; // files in those folders that are not images
};

// Replaces each source that is a folder by the images in it and in its sub-folders, depth first,
// the entries of each folder in the order of their names' bytes. Never entered: a hidden entry
// (its name starts with "."), a link to a folder (no loops, nothing outside the tree), and the
// output sub-folder of the settings below any folder entered. Files that are not images, by their
// first bytes (LooksLikeImage, image/Decode.h), and entries that are no file (pipes, devices,
// sockets, links that lead nowhere) are skipped and counted; a file that cannot be read stays, so
// that the plan names it. A source that is not a folder passes as it is.
// Throws my::CException with strid::kSourceUnreadable, naming the folder, when a folder cannot be
// listed.
SourceScan ExpandFolders(const std::vector<std::wstring>& sources, const CSetting& settings);

} // namespace lvx
