#include "app/WindowArguments.h"

#include <filesystem>

#include "foundation/ResString.h"
#include "foundation/Utf8.h"
#include "platform/Shell.h"
#include "resources/StringIds.h"

namespace lvx {

namespace {

// The file: URI of name, absolute against workingFolder. A name is bytes: it goes into the path
// unchanged and comes back from the URI the same way.
std::string UriOf(const std::string& name, const std::string& workingFolder) {
    std::filesystem::path path(name);
    if (path.is_relative())
        path = std::filesystem::path(workingFolder) / path;
    return FileUri(WideFromUtf8(path.lexically_normal().native()));
}

} // namespace

bool ParseWindowArguments(const std::vector<std::string>& args, const std::string& workingFolder,
                          WindowArguments& out, std::wstring& error) {
    bool optionsEnded = false;
    for (const std::string& arg : args) {
        if (optionsEnded || arg.size() < 2 || arg[0] != '-') {
            out.files.push_back(UriOf(arg, workingFolder));
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
