// What the window does with the files that a later start of the program handed over.
// The main thread only.
#pragma once

#include <string>
#include <vector>

namespace lvx {

// Brings the window up and converts the files of the absolute paths (bytes) as a drop of them:
// the same questions and messages. While a box waits for an answer, the files wait until it is
// closed; while a batch runs, they are refused as a drop is then, with a message that waits for
// no answer. No paths only bring the window up.
void DropHandedOverFiles(const std::vector<std::string>& paths);

} // namespace lvx
