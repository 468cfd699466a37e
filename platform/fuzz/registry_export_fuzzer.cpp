// Fuzz target for the settings-file parser: any bytes are read as a registry export, as a damaged
// or hand-edited settings file would be. What is read must survive being written and read again,
// since the store writes back every key that it read.
#include <cstddef>
#include <cstdint>
#include <vector>

#include "platform/RegistryExport.h"
#include "platform/RegistryFile.h"

namespace {

void Check(bool condition) {
    if (!condition)
        __builtin_trap();
}

// A file whose only section is the root itself, without values, leaves just the root: nothing
// that a written file needs to hold.
bool OnlyEmptyRoot(const CRegTree& tree) {
    const RegKeyData* root = tree.FindKey(L"");
    return tree.Keys().size() == 1 && root && root->AllValues().empty();
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::vector<u8> bytes(data, data + size);
    CRegTree tree;
    if (!ParseRegistryExport(bytes, tree)) {
        Check(tree == CRegTree());
        return 0;
    }
    const std::vector<u8> written = FormatRegistryExport(tree);
    CRegTree again;
    Check(ParseRegistryExport(written, again));
    Check(again == tree || (OnlyEmptyRoot(tree) && again == CRegTree()));
    return 0;
}
