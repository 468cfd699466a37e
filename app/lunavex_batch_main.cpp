// lunavex-batch: converts image files from the command line with the stored settings.
#include <iostream>
#include <string>
#include <vector>

#include "app/BatchOptions.h"
#include "app/BatchRun.h"
#include "batch/Setting.h"
#include "foundation/Utf8.h"
#include "image/Codec.h"
#include "persist/Settings.h"
#include "resources/Version.h"

int main(int argc, char** argv) {
    if (!EnsureVipsStarted())
        return 1;
    std::vector<std::string> args(argv + 1, argv + argc);
    lvx::BatchOptions options;
    std::wstring error;
    if (!lvx::ParseBatchOptions(args, options, error)) {
        std::cerr << Utf8FromWide(error) << "\n\n" << Utf8FromWide(lvx::BatchUsage()) << "\n";
        return lvx::exitcode::kUsage;
    }
    if (options.help) {
        std::cout << Utf8FromWide(lvx::BatchUsage()) << "\n";
        return lvx::exitcode::kConverted;
    }
    if (options.version) {
        std::cout << "lunavex-batch " << Utf8FromWide(LVX_VERSION_WTEXT) << "\n";
        return lvx::exitcode::kConverted;
    }
    // A copy of the stored settings; what is missing keeps its default, and nothing is written.
    LoadSetting();
    CSetting settings = TheSetting();
    lvx::ApplyBatchOptions(options, settings);
    int code = lvx::RunBatch(options, settings, std::cout, std::cerr);
    StopVips();
    return code;
}
