// One file's road: folder, the streamed conversion, save or keep.
#include "batch/LunavexTask.h"

#include <algorithm>
#include <new>

#include <sys/stat.h>

#include "batch/Setting.h"
#include "batch/SubFolderRule.h"
#include "foundation/ControlLookup.h"
#include "foundation/Exception.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "foundation/Win32Error.h"
#include "image/Shrink.h"
#include "resources/StringIds.h"

namespace lvx {
namespace {

// Position just behind the last separator, 0 when there is none.
size_t AfterLastSeparator(const std::wstring& path) {
    for (size_t i = path.size(); i > 0; --i) {
        if (IsPathSeparator(path[i - 1]))
            return i;
    }
    return 0;
}

// A count with its digits in groups of three, "268,402,689", so that a limit reads at a glance.
std::wstring GroupedNumber(u64 value) {
    std::wstring digits = std::to_wstring(value);
    for (size_t at = digits.size(); at > 3; at -= 3)
        digits.insert(at - 3, 1, L',');
    return digits;
}

} // namespace

void CLunavexTask::Init(const std::wstring& input, const std::wstring& output,
                        CLunavexTaskClient* taskClient) {
    errorId = 0;
    errorText.clear();
    inputPath = input;
    outputFile = output;
    client = taskClient;
    outputFolder = output.substr(0, AfterLastSeparator(output));
}

void CLunavexTask::SetOutputPlace(const std::wstring& base, const std::vector<std::wstring>& names,
                                  const std::vector<FolderId>& seen) {
    outputBase_ = base;
    outputNames_ = names;
    outputSeen_ = seen;
    planned_ = true;
}

void CLunavexTask::SetShrink(const ShrinkSettings& settings) {
    shrink_ = settings;
}

void CLunavexTask::SetRound(const RoundSettings& settings) {
    round_ = settings;
}

void CLunavexTask::SetOutput(const OutputChoice& choice) {
    output_ = choice;
}

void CLunavexTask::SetMaxPixels(u32 maxPixels) {
    limits.maxPixels = maxPixels;
}

void CLunavexTask::Run() {
    // Memory that runs out where the conversion did not catch it fails the file with the code's
    // own text, as a failed load would, so that a batch may try the file again alone.
    try {
        Convert();
    } catch (const std::bad_alloc&) {
        ReleaseImages();
        std::vector<u8>().swap(encoded);
        Fail(strid::kLoadFailed, hr::kOutOfMemory, inputPath);
    }
    // The folder stays open only for a save still to come.
    if (keeps != TaskKeeps::kEncoded || errorId != 0)
        outputDir_.Close();
    if (client)
        client->OnTaskFinished(shared_from_this());
}

void CLunavexTask::Convert() {
    if (!OpenOutputFolder())
        return;
    // The time is taken before the bytes, so that it is never newer than what was converted.
    sourceModified_.reset();
    struct stat source {};
    if (output_.keepDate && ::stat(ToFileSystemPath(inputPath).c_str(), &source) == 0)
        sourceModified_ = source.st_mtim;
    // The bytes that MemoryEstimate read, when it did; else read here.
    CFileBytes file = std::move(sourceBytes_);
    HResult code = file.data ? hr::kOk : ReadFileToBuffer(file, inputPath, this);
    if (Failed(code)) {
        FailLoad(code, Size{});
        return;
    }
    StreamOptions options;
    options.reduceWhileDecoding = true;
    boost::shared_ptr<CPreviewSource> collected;
    if (keepPreview) {
        collected.reset(new CPreviewSource);
        options.sourceRows = collected.get();
    }
    std::vector<u8> bytes;
    StreamFailure failure;
    code = ConvertStream(file.data.get(), file.size, limits, shrink_, round_, output_, options,
                         bytes, failure);
    TakeOutcome(code, failure, bytes, file, collected);
}

void CLunavexTask::TakeOutcome(HResult code, const StreamFailure& failure, std::vector<u8>& bytes,
                               const CFileBytes& file,
                               boost::shared_ptr<CPreviewSource> collected) {
    switch (failure.stage) {
    case StreamFailure::kNone:
        break;
    case StreamFailure::kLoad:
        FailLoad(code, failure.declared, failure.cost);
        return;
    case StreamFailure::kShrink:
    case StreamFailure::kRound:
        Fail(static_cast<i32>(failure.errorId), failure.code, inputPath);
        return;
    case StreamFailure::kSave:
        Fail(strid::kSaveFailed, code, outputFile);
        return;
    }
    if (keeps == TaskKeeps::kEncoded)
        encoded = std::move(bytes);
    else
        Save(bytes);
    if (!collected || errorId != 0)
        return;
    // Rows that the conversion never asked for (a shrink may leave the last ones out) are read
    // from the file again. Made here, on the worker, so that the window's thread only ever works
    // at the panes' size.
    if (Failed(collected->End()) &&
        (Failed(ReadRows(file.data.get(), file.size, limits, *collected)) ||
         Failed(collected->End())))
        collected.reset();
    // A copy decoded at a reduced size reads a corner that needs more detail from the file.
    if (collected)
        collected->SetSourceFile(inputPath, limits);
    preview = collected;
}

u64 CLunavexTask::MemoryEstimate() {
    sourceBytes_ = CFileBytes();
    if (Failed(ReadFileToBuffer(sourceBytes_, inputPath, this)))
        return 0;
    CDecodeCost cost;
    Size declared;
    if (Failed(EstimateDecodeCostOf(sourceBytes_.data.get(), sourceBytes_.size, limits, cost,
                                    &declared)))
        return sourceBytes_.size;
    // A WebP or AVIF encoder holds the fitted picture whole. The header does not say here which
    // way up it will be written, so the larger of the two fits counts.
    u64 encoderHeld = 0;
    for (const Size side : {declared, Size{declared.cy, declared.cx}}) {
        Size fitted;
        if (FittedSize(shrink_, side, fitted) == 0)
            encoderHeld = std::max(encoderHeld, output_.EncoderHeldBytes(fitted));
    }
    return sourceBytes_.size + cost.memory + encoderHeld;
}

void CLunavexTask::ForgetOutcome() {
    errorId = 0;
    errorCode = 0;
    errorText.clear();
    std::vector<u8>().swap(encoded);
    preview.reset();
    ReleaseImages();
}

void CLunavexTask::SaveEncoded() {
    if (errorId != 0 || encoded.empty())
        return;
    Save(encoded);
    std::vector<u8>().swap(encoded);
}

bool CLunavexTask::OpenOutputFolder() {
    i32 code = 0;
    if (planned_) {
        code = OpenFolderChain(outputBase_, outputNames_, outputSeen_, outputDir_);
    } else {
        code = outputFolder.empty() ? 0 : CreateFolderTree(outputFolder);
        if (code == 0)
            code = OpenFolderChain(outputFolder, {}, {}, outputDir_);
    }
    if (code == kFolderChanged) {
        errorId = strid::kOutputFolderChanged;
        FormatResString(errorText, strid::kOutputFolderChanged, {outputFolder});
        return false;
    }
    if (code != 0) {
        errorId = strid::kCreateFolderFailed;
        FormatResString(errorText, strid::kCreateFolderFailed,
                        {ResultText(ResultFromWin32(code)), outputFolder});
        return false;
    }
    return true;
}

void CLunavexTask::Save(const std::vector<u8>& bytes) {
    if (!outputDir_.Valid() && !OpenOutputFolder())
        return;
    // Written into the folder the conversion opened, whatever its path leads to meanwhile; a link
    // standing under the output's name is replaced, never written through.
    AtomicWriteOptions options;
    options.replaceExisting = replaceExisting;
    options.beforeReplace = beforeReplace;
    options.modified = sourceModified_;
    const std::string name = ToFileSystemPath(outputFile.substr(AfterLastSeparator(outputFile)));
    const HResult code = ResultFromWin32(WriteFileAtomicallyAt(
        outputDir_.Get(), outputFolder, name, bytes.data(), bytes.size(), options));
    outputDir_.Close();
    if (code == ResultFromWin32(win32::kFileExists)) {
        errorId = strid::kOutputAppeared;
        FormatResString(errorText, strid::kOutputAppeared, {outputFile});
        return;
    }
    if (Failed(code))
        Fail(strid::kSaveFailed, code, outputFile);
}

void CLunavexTask::ReleaseImages() {
    sourceBytes_ = CFileBytes();
}

void CLunavexTask::FailLoad(HResult code, const Size& declared, const CDecodeCost& cost) {
    errorCode = code;
    const std::wstring width = GroupedNumber(static_cast<u64>(declared.cx));
    const std::wstring height = GroupedNumber(static_cast<u64>(declared.cy));
    if (code == hr::kOverMemoryBudget) {
        errorId = strid::kLoadFailedOverMemory;
        FormatResString(errorText, strid::kLoadFailedOverMemory,
                        {ResultText(code), width, height, GroupedNumber(cost.MemoryMb()),
                         GroupedNumber(limits.maxMemoryMb)});
    } else if (code == hr::kOverWorkBudget) {
        errorId = strid::kLoadFailedOverWork;
        FormatResString(errorText, strid::kLoadFailedOverWork,
                        {ResultText(code), width, height, GroupedNumber(cost.scans),
                         GroupedNumber(limits.maxPixels),
                         GroupedNumber(kScanPassesOverPixelLimit)});
    } else if (code == hr::kImageTooLarge) {
        errorId = strid::kLoadFailedTooLarge;
        FormatResString(errorText, strid::kLoadFailedTooLarge,
                        {ResultText(code), width, height, GroupedNumber(limits.maxPixels)});
    } else if (code == hr::kTooManyScans) {
        errorId = strid::kLoadFailedTooManyScans;
        FormatResString(errorText, strid::kLoadFailedTooManyScans,
                        {ResultText(code), GroupedNumber(limits.maxScans)});
    } else {
        Fail(strid::kLoadFailed, code, inputPath);
        return;
    }
    errorText += L"\n\n" + inputPath;
}

void CLunavexTask::Fail(i32 id, HResult code) {
    Fail(id, code, std::wstring());
}

void CLunavexTask::Fail(i32 id, HResult code, const std::wstring& text) {
    std::wstring message;
    if (code != 0)
        FormatResString(message, static_cast<u32>(id), {ResultText(code)});
    else
        FormatResString(message, static_cast<u32>(id));
    errorId = id;
    errorCode = code;
    errorText = message;
    if (!text.empty())
        errorText += L"\n\n" + text;
}

void MakeOutputPath(std::wstring& out, const std::wstring& sourcePath, const CSetting& settings) {
    const std::wstring subFolder = settings.OutputSubFolder();
    if (const u32 problem = SubFolderProblem(subFolder); problem == strid::kEmptySubFolder)
        throw my::CCtrlException(CtrlForId(kSubFolderControl), strid::kEmptySubFolder);
    else if (problem != 0)
        throw my::CCtrlException(CtrlForId(kSubFolderControl), static_cast<i32>(problem),
                                 subFolder);
    std::wstring stem;
    std::wstring extension;
    if (!SplitFileName(sourcePath, stem, extension))
        throw my::CException(strid::kBadFilePath, sourcePath);
    std::wstring result = sourcePath.substr(0, AfterLastSeparator(sourcePath));
    AppendPath(result, subFolder);
    AppendPath(result, stem + L"." + settings.Output().Extension());
    out = result;
}

} // namespace lvx
