// The command line of the window program: `lunavex [--help | --version] [FILE]...`.
// Any thread: the functions keep no state.
#pragma once

#include <string>
#include <vector>

namespace lvx {

// What the command line asks for. paths hold the absolute paths of the files, in the order given,
// every byte of each name kept; files the file: URI of each.
struct WindowArguments {
    bool help = false;
    bool version = false;
    std::vector<std::string> paths;
    std::vector<std::string> files;
};

// Reads args (the arguments after the program's name). "-h" and "--help", "--version", and "--",
// after which everything is a file; any other argument that starts with "-" and is longer than
// that one character is an unknown option: false, with the message in error. A relative name is
// made absolute by putting workingFolder and a "/" in front of it, nothing else: "." and ".."
// stay in the path for the kernel, which resolves them after any link before them.
bool ParseWindowArguments(const std::vector<std::string>& args, const std::string& workingFolder,
                          WindowArguments& out, std::wstring& error);

// The file: URI of an absolute path, every byte kept, as a file manager's drag carries it.
std::string FileUriOfPath(const std::string& absolutePath);

// The usage text that --help prints and an unknown option follows with.
std::wstring WindowUsage();

} // namespace lvx
