// The plan of a batch: one task for each source, with every check that must pass before anything
// on disk changes. The window's drop and lunavex-batch both start their batches from it.
// Threads: the thread that starts the batch (the window's main thread, lunavex-batch's main
// thread), before any task reaches a worker.
#pragma once

#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "batch/LunavexTask.h"

class CSetting;

namespace lvx {

struct PlannedFile {
    boost::shared_ptr<CLunavexTask> task;
    bool outputExists = false; // a file (not a folder) is at the output path now
};

// Makes one task for each source, in order, with copies of the shrink and round settings, the
// output that the settings choose (CSetting::Output), `client` and the output folder as the plan
// saw it (which the save checks).
// Reads the file system and changes nothing; the sources are kept from the sweeps of leftovers.
// Throws my::CException, naming the files, with the strid:: id of the first of:
//   kFileNotFound         a source that is not an existing file (a folder, a missing file);
//   kSourceDanglingLink, kSourceNotRegular, kSourceUnreadable
//                         a link that leads nowhere, a pipe, device or socket, a file this
//                         process cannot open for reading;
//   the ids of SubFolderProblem, kBadFilePath from MakeOutputPath (a sub-folder that is no
//                         relative path of plain names, no file name);
//   kOutputIsSource       an output that is its own source (compared as files, so "." folders
//                         and links count);
//   kOutputIsOtherSource  an output that is another source of the batch (it would be replaced
//                         before it is read);
//   kSameOutput           two sources with one output;
//   kFolderAtOutput       a folder standing at an output path;
//   kFileAtOutputFolder   a file standing where the output folder must be;
//   kOutputFolderIsLink   a link among the output folders below the source's folder (the output
//                         would not lie in the source's folder, or not where the plan saw it).
std::vector<PlannedFile> PlanBatch(const std::vector<std::wstring>& sources,
                                   const CSetting& settings, CLunavexTaskClient* client);

// The output paths of the planned files whose output existed when planned, in order: the files
// that a run would overwrite.
std::vector<std::wstring> ExistingOutputs(const std::vector<PlannedFile>& planned);

// The user agreed to overwrite: each task whose output existed when it was planned may replace
// it. The others still refuse a file that appears at their output before they save.
void AllowReplacing(const std::vector<PlannedFile>& planned);

} // namespace lvx
