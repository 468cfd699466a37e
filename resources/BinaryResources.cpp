// Lookup of the binary resources that the build embeds, and the version block.
#include "resources/ResourceData.h"

#include "resources/Version.h"

namespace res {

extern const unsigned char kSampleJpeg[];
extern const std::size_t kSampleJpegSize;

std::span<const unsigned char> FindBinaryResource(u32 name, std::string_view type) {
    if (name == 138 && type == "IMAGE")
        return {kSampleJpeg, kSampleJpegSize};
    return {};
}

const VersionBlock& ProgramVersion() {
    static const u16 translations[] = {kLangJapanese, 1200};
    static const VersionBlock block{translations, LVX_VERSION_WTEXT, LVX_COPYRIGHT_WTEXT,
                                    L"Lunavex image batch tool"};
    return block;
}

} // namespace res
