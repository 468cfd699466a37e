// The command line of the window program: `lunavex [--help | --version] [FILE]...`.
// Any thread: the functions keep no state.
#pragma once

#include <string>
#include <vector>

namespace lvx {

// What the command line asks for. files hold file: URIs of absolute paths, in the order given,
// every byte of each name kept.
struct WindowArguments {
    bool help = false;
    bool version = false;
    std::vector<std::string> files;
};

// Reads args (the arguments after the program's name). "-h" and "--help", "--version", and "--",
// after which everything is a file; any other argument that starts with "-" and is longer than
// that one character is an unknown option: false, with the message in error. A relative name is
// made absolute by putting workingFolder and a "/" in front of it, nothing else: "." and ".."
// stay in the path for the kernel, which resolves them after any link before them.
bool ParseWindowArguments(const std::vector<std::string>& args, const std::string& workingFolder,
                          WindowArguments& out, std::wstring& error);

// The usage text that --help prints and an unknown option follows with.
std::wstring WindowUsage();

} // namespace lvx
