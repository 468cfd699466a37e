// Runs a fuzz target's entry point over the files named on the command line, and over every file
// inside the folders named there, for builds without a fuzzer. ctest uses it to replay the inputs
// that fuzzing found; it fails when it ran no input at all, so that a lost folder shows.
#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <system_error>
#include <vector>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size);
// Optional, as with libFuzzer: a target that needs a one-time start defines it.
extern "C" __attribute__((weak)) int LLVMFuzzerInitialize(int* argc, char*** argv);

namespace {

namespace fs = std::filesystem;

bool RunFile(const fs::path& path) {
    std::ifstream file(path, std::ios::binary);
    if (!file) {
        std::fprintf(stderr, "cannot read %s\n", path.c_str());
        return false;
    }
    const std::vector<char> bytes((std::istreambuf_iterator<char>(file)),
                                  std::istreambuf_iterator<char>());
    LLVMFuzzerTestOneInput(reinterpret_cast<const std::uint8_t*>(bytes.data()), bytes.size());
    std::printf("%s: done\n", path.c_str());
    return true;
}

// The regular files of a folder in name order, so that every run replays in the same order.
std::vector<fs::path> FilesIn(const fs::path& folder) {
    std::vector<fs::path> files;
    std::error_code error;
    for (const fs::directory_entry& entry : fs::directory_iterator(folder, error)) {
        if (entry.is_regular_file())
            files.push_back(entry.path());
    }
    std::sort(files.begin(), files.end());
    return files;
}

} // namespace

int main(int argc, char** argv) {
    if (LLVMFuzzerInitialize)
        LLVMFuzzerInitialize(&argc, &argv);
    std::size_t ran = 0;
    for (int i = 1; i < argc; ++i) {
        const fs::path path(argv[i]);
        std::vector<fs::path> files =
            fs::is_directory(path) ? FilesIn(path) : std::vector<fs::path>{path};
        for (const fs::path& file : files) {
            if (!RunFile(file))
                return 1;
            ++ran;
        }
    }
    if (ran == 0) {
        std::fprintf(stderr, "no input to run\n");
        return 1;
    }
    std::printf("%zu inputs\n", ran);
    return 0;
}
