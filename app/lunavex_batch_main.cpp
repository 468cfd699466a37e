// lunavex-batch: converts image files from the command line with the stored settings.
#include <csignal>
#include <cstdio>
#include <exception>
#include <iostream>
#include <new>
#include <string>
#include <vector>

#include "app/BatchOptions.h"
#include "app/BatchRun.h"
#include "app/StopSignals.h"
#include "batch/Setting.h"
#include "foundation/GuardedCall.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "foundation/Utf8.h"
#include "image/VipsStart.h"
#include "persist/Settings.h"
#include "platform/RegistryFile.h"
#include "resources/StringIds.h"
#include "resources/Version.h"

namespace {

// True once the first file may have been written: a failure after it is a failed run, before it a
// refused one.
bool g_runStarted = false;

// Says a message on standard error, with argument or else the string argumentId as its %s; when
// even that fails for want of memory, a plain line.
void PrintMessage(u32 id, const std::wstring& argument, u32 argumentId = 0) noexcept {
    try {
        std::wstring text;
        std::wstring filled = argument;
        if (argumentId != 0)
            LoadResString(filled, argumentId, false);
        FormatResString(text, id, {filled});
        std::cerr << Utf8FromWide(text) << "\n";
    } catch (...) {
        std::fputs("lunavex-batch: stopped\n", stderr);
    }
}

int Run(int argc, char** argv) {
    // Before any thread starts, so that every thread leaves SIGTERM and SIGINT to the one that
    // waits for them: the batch then stops between files. A reader of standard output that goes
    // away makes the writes fail, which the run checks, instead of ending the process.
    lvx::CatchStopSignals();
    std::signal(SIGPIPE, SIG_IGN);
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
    const std::wstring unused = TheRegistryFile()->NotReadMessage();
    if (!unused.empty())
        std::cerr << Utf8FromWide(ReadableText(unused)) << "\n";
    CSetting settings = TheSetting();
    lvx::ApplyBatchOptions(options, settings);
    g_runStarted = true;
    int code = lvx::RunBatch(options, settings, std::cout, std::cerr);
    StopVips();
    return code;
}

} // namespace

// Nothing that is thrown ends the process by a signal: it is said on standard error, and the exit
// status says that the run stopped: 3 before any file was written, 1 once files may have been.
int main(int argc, char** argv) {
    try {
        return Run(argc, argv);
    } catch (const std::bad_alloc&) {
        PrintMessage(strid::kCannotGoOn, ResultText(hr::kOutOfMemory));
    } catch (const std::exception& e) {
        PrintMessage(strid::kCannotGoOn, WideFromWhat(e));
    } catch (...) {
        PrintMessage(strid::kCannotGoOn, L"", strid::kUnknownException);
    }
    return g_runStarted ? lvx::exitcode::kTaskFailed : lvx::exitcode::kRefused;
}
