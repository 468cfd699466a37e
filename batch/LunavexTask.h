// lvx::CLunavexTask: one file's road from the source to the output file, and what came of it.
#pragma once

#include <ctime>
#include <functional>
#include <optional>
#include <string>
#include <vector>

#include <boost/enable_shared_from_this.hpp>
#include <boost/shared_ptr.hpp>

#include "batch/CanTerminate.h"
#include "foundation/FileIo.h"
#include "foundation/FolderChain.h"
#include "image/DecodeCost.h"
#include "image/DecodeLimits.h"
#include "image/ImageIo.h"
#include "image/OutputChoice.h"
#include "image/PreviewSource.h"
#include "image/RoundSettings.h"
#include "image/ShrinkSettings.h"
#include "image/StreamConvert.h"

class CSetting;

namespace lvx {

class CLunavexTask;

// Receives each finished task, on the thread that ran it.
class CLunavexTaskClient {
public:
    virtual void OnTaskFinished(boost::shared_ptr<CLunavexTask> task) = 0;

protected:
    ~CLunavexTaskClient() = default;
};

// What a task keeps once its file is converted, chosen by the caller before it runs.
enum class TaskKeeps {
    // Nothing: the output is written at once.
    kNothing,
    // The output is not written: `encoded` holds its bytes until SaveEncoded writes them, for a
    // caller that writes the files of several tasks in their order.
    kEncoded,
};

// Made and set up on the main thread (Init, SetShrink, SetRound, SetOutput, `keeps`,
// `keepPreview`; the runner may set keepPreview before the file starts), run once by
// the worker (Run), and only read afterwards. The file goes from its bytes to the output's in one
// pass of rows (ConvertStream, image/StreamConvert.h): no whole image is held, and a large JPEG is
// decoded at a reduced size when the shrink allows it. Works on copies of the settings; never
// reads the global settings while it runs. Not copyable.
class CLunavexTask : public CCanTerminate, public boost::enable_shared_from_this<CLunavexTask> {
public:
    CLunavexTask() = default;
    CLunavexTask(const CLunavexTask&) = delete;
    CLunavexTask& operator=(const CLunavexTask&) = delete;

    void Init(const std::wstring& inputPath, const std::wstring& outputFile,
              CLunavexTaskClient* client);
    void SetShrink(const ShrinkSettings& settings);
    void SetRound(const RoundSettings& settings);
    // What the output is: CSetting::Output() (batch/Setting.h). A PNG over white by default.
    void SetOutput(const OutputChoice& choice);
    const OutputChoice& output() const { return output_; }
    // The largest source, in pixels, that the load accepts; a larger one fails before decoding.
    void SetMaxPixels(u32 maxPixels);
    // Where the plan saw the output folder: the source's folder (empty for the working folder),
    // the names of the sub-folder below it, and the identities of the folders that existed. The
    // save writes only into that folder, reached again without following a link; a task set up
    // without it makes its output folder by its path.
    void SetOutputPlace(const std::wstring& base, const std::vector<std::wstring>& names,
                        const std::vector<FolderId>& seen);

    // Convert, then hand the task to the client (also on failure). Worker thread.
    void Run();

    // What converting the file will hold in memory, as far as its header tells: the file's bytes,
    // the decoder's cost (image/DecodeCost.h) and what a WebP or AVIF encoder holds of the fitted
    // picture. 0 when the file cannot be read, its bytes when no loader knows them; nothing is
    // decoded. The bytes read stay for the conversion, which then reads no more. The thread that
    // runs the task, before Run.
    u64 MemoryEstimate();
    // Forgets the outcome of a run (failure, kept output, preview), so that Run can be called
    // once more.
    void ForgetOutcome();

    // Lets go of the bytes of its file, so that a long batch keeps no more than the file in work
    // in memory. The ids, texts, `preview` and `encoded` stay.
    void ReleaseImages();

    void Fail(i32 id, HResult code);
    void Fail(i32 id, HResult code, const std::wstring& text);

    i32 errorId = 0;
    std::wstring errorText;
    // The result code of the failure, where one caused it (0x8007000E when memory ran out).
    HResult errorCode = 0;
    std::wstring inputPath;
    std::wstring outputFile;
    CLunavexTaskClient* client = nullptr;
    std::wstring outputFolder;
    // The user agreed that outputFile, which existed when the batch was checked, be replaced.
    // Without it the save writes only where no file stands, and one that appeared meanwhile
    // fails the task. Either way the old file stays until the new one is complete.
    bool replaceExisting = false;
    CDecodeLimits limits;
    TaskKeeps keeps = TaskKeeps::kNothing;
    // Whether the conversion also collects what the window's panes need of the source (`preview`),
    // from the rows as it reads them.
    bool keepPreview = false;
    // With keepPreview, once the file is converted: the panes' copy of the source, read from the
    // file once more only where the conversion skipped rows. It outlives ReleaseImages.
    boost::shared_ptr<CPreviewSource> preview;
    // With TaskKeeps::kEncoded: the output's bytes, until SaveEncoded.
    std::vector<u8> encoded;
    // Called once the output is written and synced, before it takes its name; false stops the
    // save there, as a crash would (for tests).
    std::function<bool()> beforeReplace;
    // Writes what a task with TaskKeeps::kEncoded kept, with the failures of a save; nothing for
    // a task that failed or kept nothing.
    void SaveEncoded();

private:
    // Folder, then the conversion; stops at the first failure.
    void Convert();
    // What the conversion gave: the bytes saved or kept, the preview finished, or the failure of
    // its stage.
    void TakeOutcome(HResult code, const StreamFailure& failure, std::vector<u8>& bytes,
                     const CFileBytes& file, boost::shared_ptr<CPreviewSource> collected);
    // The failure of the load, with the size and the limit where a limit refused the file, and
    // what decoding it needs where a budget did.
    void FailLoad(HResult code, const Size& declared, const CDecodeCost& cost = {});
    // Writes the encoded output; a file that appeared at its place meanwhile fails the task.
    void Save(const std::vector<u8>& bytes);
    // Opens the output folder (made where missing) for the save; false with the failure set.
    bool OpenOutputFolder();

    ShrinkSettings shrink_;
    RoundSettings round_;
    OutputChoice output_;
    std::wstring outputBase_;
    std::vector<std::wstring> outputNames_;
    std::vector<FolderId> outputSeen_;
    bool planned_ = false;
    // The output folder from the start of the conversion to the end of the save.
    CFileDescriptor outputDir_;

    CFileBytes sourceBytes_; // read by MemoryEstimate for the conversion that follows
    // The source's modification time, when the output is to take it.
    std::optional<timespec> sourceModified_;
};

// The output file of a source: the folder of the source, the newest sub-folder name, the stem of
// the source and the extension of the output that the settings choose. Throws my::CCtrlException
// (kSubFolderControl, SubFolderRule.h) with the id of SubFolderProblem for a sub-folder that breaks
// its rule, and my::CException strid::kBadFilePath for a source with no file name.
void MakeOutputPath(std::wstring& out, const std::wstring& sourcePath, const CSetting& settings);

} // namespace lvx
