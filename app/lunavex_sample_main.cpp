// lunavex-sample: converts the built-in sample image with the default settings into a folder
// given on the command line, and prints the path of the file it wrote.
#include <iostream>

#include <vips/vips8>

#include "batch/LunavexTask.h"
#include "batch/Setting.h"
#include "foundation/Paths.h"
#include "foundation/Utf8.h"
#include "image/ImageIo.h"
#include "image/ImageSaver.h"

int main(int argc, char** argv) {
    if (VIPS_INIT(argv[0]) || argc != 2) {
        std::cerr << "usage: lunavex-sample OUTPUT-FOLDER\n";
        return 2;
    }
    CSetting defaults;
    std::wstring folder = WideFromUtf8(argv[1]);
    std::wstring output = folder;
    AppendPath(output, L"sample." + defaults.ExtensionOfSaveType());
    CDibPtr sample;
    HResult code = LoadImageResource(sample, 138, "IMAGE");
    lvx::CLunavexTask task;
    task.SetShrink(defaults.shrink);
    task.SetRound(defaults.round);
    task.PrepareEncoder(defaults.saveType, defaults.jpegQuality);
    if (Failed(code) || CreateFolderTree(folder) != 0) {
        std::cerr << "cannot load the sample image or make " << argv[1] << "\n";
        return 1;
    }
    task.Process(sample);
    if (task.errorId == 0)
        code = task.saver->SaveDib(*task.result, true, output);
    if (task.errorId != 0 || Failed(code)) {
        std::cerr << Utf8FromWide(task.errorText) << "\n";
        return 1;
    }
    std::cout << Utf8FromWide(output) << "\n";
    vips_shutdown();
    return 0;
}
