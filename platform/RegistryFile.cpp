// The per-user registry store in one export file: the tree of keys, the lock, the atomic write.
#include "platform/RegistryFile.h"

#include <cerrno>
#include <cstdio>
#include <ctime>
#include <fcntl.h>
#include <new>
#include <sys/file.h>
#include <sys/stat.h>

#include "foundation/FileIo.h"
#include "foundation/KnownFolders.h"
#include "foundation/Log.h"
#include "foundation/Paths.h"
#include "foundation/ResString.h"
#include "foundation/ResultText.h"
#include "foundation/Win32Error.h"
#include "platform/RegistryExport.h"
#include "resources/StringIds.h"

namespace {

// Key and value names compare as the registry compares them, without regard to ASCII case.
std::wstring Fold(const std::wstring& text) {
    std::wstring out = text;
    for (wchar_t& c : out) {
        if (c >= L'A' && c <= L'Z')
            c = c + (L'a' - L'A');
    }
    return out;
}

// The advisory lock on the file name + ".lock", held while the object lives. The lock file is
// opened without following a link, so that a link planted under its name creates nothing.
class CStoreLock {
public:
    explicit CStoreLock(const std::wstring& storePath) {
        error_ = OpenOwnFile(storePath + L".lock", O_RDWR | O_CREAT, fd_);
        if (error_)
            return;
        while (::flock(fd_.Get(), LOCK_EX) != 0) {
            if (errno != EINTR) {
                error_ = LastWin32Error();
                return;
            }
        }
    }
    i32 Error() const { return error_; }

private:
    CFileDescriptor fd_;
    i32 error_ = 0;
};

// Moves the file at path aside to path + ".damaged-YYYYMMDD-HHMMSS" (with "-2", "-3" ... when
// that name is taken), never replacing a file that is there already. The new name, or empty with
// the Win32 code.
i32 KeepAside(const std::string& path, std::string& aside) {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
    const std::string base = path + ".damaged-" + stamp;
    aside = base;
    for (int n = 2;
         ::renameat2(AT_FDCWD, path.c_str(), AT_FDCWD, aside.c_str(), RENAME_NOREPLACE) != 0; ++n) {
        if (errno != EEXIST) {
            aside.clear();
            return LastWin32Error();
        }
        aside = base + "-" + std::to_string(n);
    }
    return 0;
}

// The program's own file is a few kilobytes; the most it ever writes (17 paths of 4096 characters
// in UTF-16) is about 150 KB. A larger file is something else put in its place, and is refused on
// its size before it is read, so that the start never takes seconds or gigabytes for it.
constexpr u64 kLargestStore = u64{1} << 20;

// Why the file at target was not read, as the user reads it. A refusal (5) is told apart from a
// lack of rights, which has the same code, by what stands there.
std::wstring NotReadReason(i32 code, const std::wstring& target) {
    std::wstring text;
    struct stat found {};
    switch (code) {
    case win32::kDirectory:
        LoadResString(text, strid::kSettingsIsFolder, true);
        return text;
    case win32::kAccessDenied:
        if (::stat(ToFileSystemPath(target).c_str(), &found) == 0 && !S_ISREG(found.st_mode))
            return ResultText(hr::kNotOrdinaryFile);
        return ResultText(ResultFromWin32(code));
    case win32::kCantResolveFilename:
        LoadResString(text, strid::kSettingsLinkLoop, true);
        return text;
    default:
        return ResultText(ResultFromWin32(code));
    }
}

std::wstring Template(u32 id, std::initializer_list<FormatArg> args) {
    std::wstring text;
    FormatResString(text, id, args);
    return text;
}

std::mutex g_storeMutex;
std::shared_ptr<CRegistryFile> g_store;

} // namespace

std::vector<u8> Utf16LeFromWide(std::wstring_view text) {
    std::vector<u8> out;
    out.reserve(text.size() * 2);
    auto unit = [&out](u32 u) {
        out.push_back(static_cast<u8>(u & 0xFF));
        out.push_back(static_cast<u8>(u >> 8));
    };
    for (wchar_t c : text) {
        u32 code = static_cast<u32>(c);
        if (code >= 0x10000 && code <= 0x10FFFF) {
            code -= 0x10000;
            unit(0xD800 | (code >> 10));
            unit(0xDC00 | (code & 0x3FF));
        } else if (code > 0x10FFFF) {
            unit(0xFFFD);
        } else {
            unit(code);
        }
    }
    return out;
}

std::wstring WideFromUtf16Le(const u8* bytes, std::size_t byteCount) {
    std::size_t units = byteCount / 2;
    std::wstring out;
    out.reserve(units);
    for (std::size_t i = 0; i < units; ++i) {
        u32 u = bytes[2 * i] | (static_cast<u32>(bytes[2 * i + 1]) << 8);
        if (u >= 0xD800 && u <= 0xDBFF && i + 1 < units) {
            u32 next = bytes[2 * i + 2] | (static_cast<u32>(bytes[2 * i + 3]) << 8);
            if (next >= 0xDC00 && next <= 0xDFFF) {
                out += static_cast<wchar_t>(0x10000 + ((u - 0xD800) << 10) + (next - 0xDC00));
                ++i;
                continue;
            }
        }
        out += static_cast<wchar_t>(u);
    }
    return out;
}

RegKeyData::RegKeyData(const RegKeyData& other) : path(other.path), values_(other.values_) {
    Reindex();
}

RegKeyData& RegKeyData::operator=(const RegKeyData& other) {
    if (this != &other) {
        path = other.path;
        values_ = other.values_;
        Reindex();
    }
    return *this;
}

void RegKeyData::Reindex() {
    index_.clear();
    for (auto it = values_.begin(); it != values_.end(); ++it)
        index_.emplace(Fold(it->first), it);
}

const RegValueData* RegKeyData::Find(const std::wstring& name) const {
    auto found = index_.find(Fold(name));
    return found == index_.end() ? nullptr : &found->second->second;
}

void RegKeyData::Set(const std::wstring& name, const RegValueData& value) {
    std::wstring folded = Fold(name);
    auto found = index_.find(folded);
    if (found != index_.end()) {
        found->second->second = value;
        return;
    }
    values_.emplace_back(name, value);
    index_.emplace(std::move(folded), std::prev(values_.end()));
}

void RegKeyData::Remove(const std::wstring& name) {
    auto found = index_.find(Fold(name));
    if (found == index_.end())
        return;
    values_.erase(found->second);
    index_.erase(found);
}

bool CRegTree::HasKey(const std::wstring& path) const {
    return FindKey(path) != nullptr;
}

const RegKeyData* CRegTree::FindKey(const std::wstring& path) const {
    auto it = keys_.find(Fold(path));
    return it == keys_.end() ? nullptr : &it->second;
}

bool CRegTree::CreateKey(const std::wstring& path) {
    const std::size_t before = keys_.size();
    Key(path);
    return keys_.size() != before;
}

RegKeyData& CRegTree::Key(const std::wstring& path) {
    std::wstring folded = Fold(path);
    auto found = keys_.find(folded);
    if (found != keys_.end())
        return found->second;
    // The missing parents, nearest first, up to the first that exists; then made from the top.
    std::vector<std::size_t> ends{path.size()};
    for (std::size_t end = path.size(); end > 0;) {
        const std::size_t slash = path.rfind(L'\\', end - 1);
        end = slash == std::wstring::npos ? 0 : slash;
        if (keys_.count(folded.substr(0, end)))
            break;
        ends.push_back(end);
    }
    auto made = keys_.end();
    for (auto it = ends.rbegin(); it != ends.rend(); ++it)
        made = keys_.emplace(folded.substr(0, *it), RegKeyData(path.substr(0, *it))).first;
    return made->second;
}

void CRegTree::RemoveKey(const std::wstring& path) {
    if (path.empty()) {
        keys_.clear();
        return;
    }
    const std::wstring folded = Fold(path);
    keys_.erase(folded);
    // The sub-keys are one run of the ordered map: all names that begin with the path and "\".
    const std::wstring below = folded + L"\\";
    auto first = keys_.lower_bound(below);
    auto last = first;
    while (last != keys_.end() && last->first.starts_with(below))
        ++last;
    keys_.erase(first, last);
}

void CRegTree::SetValue(const std::wstring& path, const std::wstring& name,
                        const RegValueData& value) {
    Key(path).Set(name, value);
}

void CRegTree::RemoveValue(const std::wstring& path, const std::wstring& name) {
    auto it = keys_.find(Fold(path));
    if (it != keys_.end())
        it->second.Remove(name);
}

CRegistryFile::CRegistryFile(std::wstring filePath) : filePath_(std::move(filePath)) {}

bool CRegistryFile::KeyExists(const std::wstring& path) {
    std::lock_guard lock(mutex_);
    EnsureLoaded();
    return path.empty() || tree_.HasKey(path);
}

i32 CRegistryFile::CreateKey(const std::wstring& path, bool& created) {
    std::lock_guard lock(mutex_);
    EnsureLoaded();
    created = !path.empty() && tree_.CreateKey(path);
    if (!created)
        return 0;
    pending_.push_back(Change{false, path, {}, {}});
    return MaybeFlush();
}

bool CRegistryFile::QueryValue(const std::wstring& path, const std::wstring& name,
                               RegValueData& out) {
    std::lock_guard lock(mutex_);
    EnsureLoaded();
    const RegKeyData* key = tree_.FindKey(path);
    const RegValueData* value = key ? key->Find(name) : nullptr;
    if (!value)
        return false;
    out = *value;
    return true;
}

i32 CRegistryFile::SetValue(const std::wstring& path, const std::wstring& name,
                            const RegValueData& value) {
    std::lock_guard lock(mutex_);
    EnsureLoaded();
    tree_.SetValue(path, name, value);
    pending_.push_back(Change{true, path, name, value});
    return MaybeFlush();
}

void CRegistryFile::BeginWriteBatch() {
    std::lock_guard lock(mutex_);
    ++batchDepth_;
}

i32 CRegistryFile::EndWriteBatch() {
    std::lock_guard lock(mutex_);
    if (batchDepth_ > 0)
        --batchDepth_;
    return MaybeFlush();
}

i32 CRegistryFile::Flush() {
    std::lock_guard lock(mutex_);
    return WriteChanges();
}

i32 CRegistryFile::MaybeFlush() {
    return batchDepth_ > 0 ? 0 : WriteChanges();
}

void CRegistryFile::Report(const std::wstring& text) {
    // A write reads the file again and may find what the first read found: said once.
    if (text == notRead_)
        return;
    notRead_ = text;
    boost::shared_ptr<CLogFile> log = TheLog();
    if (log)
        log->Write(text + L"\n");
}

void CRegistryFile::EnsureLoaded() {
    if (loaded_)
        return;
    struct stat entry {};
    if (filePath_.empty() || ::lstat(ToFileSystemPath(filePath_).c_str(), &entry) != 0) {
        loaded_ = true;
        return;
    }
    // A file that cannot be read leaves the store empty in memory; writes read it again and fail
    // in the same way, so that it is never replaced. Memory that runs out while reading leaves
    // the store unread, so that a later call tries again, and goes on to the caller.
    CStoreLock fileLock(filePath_);
    ReadFile(tree_);
    loaded_ = true;
}

i32 CRegistryFile::ReadFile(CRegTree& tree) {
    tree = CRegTree();
    // When the store is a link (into a folder of dot files, say), the file that it points to is
    // the one that is read, kept aside and replaced.
    std::wstring target;
    std::vector<u8> bytes;
    bool exists = false;
    u64 size = 0;
    i32 code = ResolveLinks(filePath_, target);
    if (code == 0)
        code = ReadWholeFile(target, kLargestStore, bytes, exists, size);
    if (code != 0 && code != win32::kFileTooLarge) {
        Report(Template(strid::kSettingsNotRead, {filePath_, NotReadReason(code, target)}));
        return code;
    }
    if (code == 0 && (!exists || ParseRegistryExport(bytes, tree)))
        return 0;
    std::string aside;
    if (i32 failed = KeepAside(ToFileSystemPath(target), aside)) {
        Report(Template(strid::kSettingsNotRead, {filePath_, NotReadReason(failed, target)}));
        return failed;
    }
    damagedKeptAs_ = FromFileSystemPath(aside);
    if (code == win32::kFileTooLarge) {
        Report(Template(strid::kSettingsTooLarge,
                        {std::to_wstring(size), std::to_wstring(kLargestStore), damagedKeptAs_}));
    } else {
        Report(Template(strid::kSettingsKeptAside, {damagedKeptAs_}));
    }
    return 0;
}

i32 CRegistryFile::WriteChanges() {
    if (pending_.empty())
        return 0;
    if (filePath_.empty())
        return win32::kPathNotFound;
    try {
        if (i32 code = CreateFolderTree(ParentPath(filePath_)))
            return code;
        CStoreLock fileLock(filePath_);
        if (fileLock.Error())
            return fileLock.Error();
        CRegTree merged;
        if (i32 code = ReadFile(merged))
            return code;
        for (const Change& change : pending_) {
            if (change.isValue)
                merged.SetValue(change.path, change.name, change.value);
            else
                merged.CreateKey(change.path);
        }
        if (i32 code = ReplaceFile(FormatRegistryExport(merged)))
            return code;
        tree_ = std::move(merged);
    } catch (const std::bad_alloc&) {
        // Writes end in destructors of write batches: a failure here is a code, never a throw.
        return win32::kNotEnoughMemory;
    }
    pending_.clear();
    return 0;
}

i32 CRegistryFile::ReplaceFile(const std::vector<u8>& bytes) {
    AtomicWriteOptions options;
    options.throughLinks = true;
    options.newFileMode = 0600;
    options.beforeReplace = beforeReplace_;
    return WriteFileAtomically(filePath_, bytes.data(), bytes.size(), options);
}

std::shared_ptr<CRegistryFile> TheRegistryFile() {
    std::lock_guard lock(g_storeMutex);
    if (!g_store)
        g_store = std::make_shared<CRegistryFile>(SettingsFilePath());
    return g_store;
}

void ResetTheRegistryFile() {
    std::lock_guard lock(g_storeMutex);
    g_store.reset();
}
