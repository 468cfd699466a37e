// The shrink choices of the size drop-down: a kind, a box size and the name that is shown.
#include "image/NamedShrink.h"

#include "foundation/ResString.h"
#include "image/ShrinkSettings.h"
#include "resources/StringIds.h"

namespace {

std::vector<CNamedShrinkPtr> BuildChoices() {
    std::vector<CNamedShrinkPtr> choices;
    const std::vector<i32>& sizes = ShrinkSizes();
    choices.reserve(2 + sizes.size());
    std::wstring name;
    FormatResString(name, strid::kNoShrink);
    choices.emplace_back(new CNamedShrink(shrinktype::kNone, 0, 0, name));
    FormatResString(name, strid::kShrinkToCustomSize);
    choices.emplace_back(new CNamedShrink(shrinktype::kCustom, 0, 0, name));
    for (i32 v : sizes) {
        FormatResString(name, strid::kShrinkToNamedSize, {v, v});
        choices.emplace_back(
            new CNamedShrink(shrinktype::kNamed, static_cast<u32>(v), static_cast<u32>(v), name));
    }
    return choices;
}

} // namespace

const std::vector<i32>& ShrinkSizes() {
    static const std::vector<i32> sizes{160, 200, 240, 300, 400,  480,  500,  640,
                                        700, 720, 768, 800, 1000, 1024, 1200, 1280};
    return sizes;
}

const std::vector<CNamedShrinkPtr>& ShrinkChoices() {
    static const std::vector<CNamedShrinkPtr> choices = BuildChoices();
    return choices;
}
