#include "app/WindowArguments.h"

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "platform/Shell.h"
#include "resources/StringIds.h"

namespace lvx {

namespace {

// Name made absolute against workingFolder. A name is bytes: it goes into the path unchanged. A
// relative name only gets the working folder in front of it: "." and ".." stay for the kernel,
// so that "lnk/../x" names what the kernel opens (the parent of the link's target), as it does
// for lunavex-batch.
std::string AbsolutePath(const std::string& name, const std::string& workingFolder) {
    if (!name.empty() && name[0] == '/')
        return name;
    const bool separated = !workingFolder.empty() && workingFolder.back() == '/';
    return workingFolder + (separated ? "" : "/") + name;
}

} // namespace

// The bytes come back from the URI as they went in.
std::string FileUriOfPath(const std::string& absolutePath) {
    return FileUri(WideFromUtf8(absolutePath));
}

bool ParseWindowArguments(const std::vector<std::string>& args, const std::string& workingFolder,
                          WindowArguments& out, std::wstring& error) {
    bool optionsEnded = false;
    for (const std::string& arg : args) {
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            out.paths.push_back(AbsolutePath(arg, workingFolder));
            out.files.push_back(FileUriOfPath(out.paths.back()));
        } else if (arg == "--") {
            optionsEnded = true;
        } else if (arg == "-h" || arg == "--help") {
            out.help = true;
        } else if (arg == "--version") {
            out.version = true;
        } else {
            FormatResString(error, strid::kUnknownOption, {WideFromUtf8(arg)});
            return false;
        }
    }
    return true;
}

std::wstring WindowUsage() {
    std::wstring text;
    LoadResString(text, strid::kWindowUsage, true);
    return text;
}

} // namespace lvx
