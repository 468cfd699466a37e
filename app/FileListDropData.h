// A drop made by the program itself: the files of its command line, in the form a drag carries.
#pragma once

#include <string>
#include <vector>

#include "foundation/ShellIdListArray.h"

namespace lvx {

// Serves the "Shell IDList Array" block of the given file: URIs, as a file manager's drag of
// those files does, so that the files take the road of a drop with its questions and messages.
// Any other format is not there. Any thread; the data never changes.
class CFileListDropData : public CDropData {
public:
    explicit CFileListDropData(const std::vector<std::string>& uris)
        : block_(BuildShellIdListArray(uris)) {}

    HResult GetData(const std::wstring& format, std::vector<u8>& out) const override;

private:
    std::vector<u8> block_;
};

} // namespace lvx
