// The per-user registry store in one export file: the tree of keys, the lock, the atomic write.
#include "platform/RegistryFile.h"

#include <cerrno>
#include <ctime>
#include <fcntl.h>
#include <sys/file.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/KnownFolders.h"
#include "foundation/Paths.h"
#include "foundation/Win32Error.h"
#include "platform/RegistryExport.h"

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

bool SameName(const std::wstring& a, const std::wstring& b) {
    return a.size() == b.size() && Fold(a) == Fold(b);
}

// The parent of a key path; empty for a key directly below the root.
std::wstring ParentKey(const std::wstring& path) {
    std::size_t slash = path.rfind(L'\\');
    return slash == std::wstring::npos ? std::wstring() : path.substr(0, slash);
}

i32 LastErrorCode() {
    return Win32FromErrno(errno);
}

// A descriptor closed by its owner.
class CFd {
public:
    explicit CFd(int fd) : fd_(fd) {}
    CFd(const CFd&) = delete;
    CFd& operator=(const CFd&) = delete;
    ~CFd() {
        if (fd_ >= 0)
            ::close(fd_);
    }
    int Get() const { return fd_; }
    bool Valid() const { return fd_ >= 0; }
    int Release() {
        int fd = fd_;
        fd_ = -1;
        return fd;
    }

private:
    int fd_;
};

// The advisory lock on the file name + ".lock", held while the object lives.
class CStoreLock {
public:
    explicit CStoreLock(const std::string& storePath)
        : fd_(::open((storePath + ".lock").c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0600)) {
        if (!fd_.Valid()) {
            error_ = LastErrorCode();
            return;
        }
        while (::flock(fd_.Get(), LOCK_EX) != 0) {
            if (errno != EINTR) {
                error_ = LastErrorCode();
                return;
            }
        }
    }
    i32 Error() const { return error_; }

private:
    CFd fd_;
    i32 error_ = 0;
};

bool WriteAll(int fd, const std::vector<u8>& bytes) {
    std::size_t done = 0;
    while (done < bytes.size()) {
        ssize_t n = ::write(fd, bytes.data() + done, bytes.size() - done);
        if (n < 0 && errno == EINTR)
            continue;
        if (n <= 0)
            return false;
        done += static_cast<std::size_t>(n);
    }
    return true;
}

// Reads the whole file into out; an absent file is no failure and leaves exists false.
i32 ReadAll(const std::string& path, std::vector<u8>& out, bool& exists) {
    exists = false;
    CFd fd(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    if (!fd.Valid())
        return errno == ENOENT ? 0 : LastErrorCode();
    exists = true;
    out.clear();
    u8 buffer[16384];
    for (;;) {
        ssize_t n = ::read(fd.Get(), buffer, sizeof buffer);
        if (n < 0 && errno == EINTR)
            continue;
        if (n < 0)
            return LastErrorCode();
        if (n == 0)
            return 0;
        out.insert(out.end(), buffer, buffer + n);
    }
}

std::string DamagedName(const std::string& path) {
    std::time_t now = std::time(nullptr);
    std::tm local{};
    ::localtime_r(&now, &local);
    char stamp[32];
    std::strftime(stamp, sizeof stamp, "%Y%m%d-%H%M%S", &local);
    std::string base = path + ".damaged-" + stamp;
    std::string name = base;
    struct stat st;
    for (int n = 2; ::lstat(name.c_str(), &st) == 0; ++n)
        name = base + "-" + std::to_string(n);
    return name;
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

const RegValueData* RegKeyData::Find(const std::wstring& name) const {
    for (const auto& [own, value] : values) {
        if (SameName(own, name))
            return &value;
    }
    return nullptr;
}

void RegKeyData::Set(const std::wstring& name, const RegValueData& value) {
    for (auto& [own, stored] : values) {
        if (SameName(own, name)) {
            stored = value;
            return;
        }
    }
    values.emplace_back(name, value);
}

void RegKeyData::Remove(const std::wstring& name) {
    std::erase_if(values, [&name](const auto& entry) { return SameName(entry.first, name); });
}

bool CRegTree::HasKey(const std::wstring& path) const {
    return FindKey(path) != nullptr;
}

const RegKeyData* CRegTree::FindKey(const std::wstring& path) const {
    auto it = keys_.find(Fold(path));
    return it == keys_.end() ? nullptr : &it->second;
}

bool CRegTree::CreateKey(const std::wstring& path) {
    std::wstring folded = Fold(path);
    if (keys_.count(folded))
        return false;
    if (!path.empty())
        CreateKey(ParentKey(path));
    keys_.emplace(folded, RegKeyData{path, {}});
    return true;
}

void CRegTree::RemoveKey(const std::wstring& path) {
    std::wstring folded = Fold(path);
    std::wstring below = folded + L"\\";
    std::erase_if(keys_, [&](const auto& entry) {
        return entry.first == folded || path.empty() || entry.first.starts_with(below);
    });
}

void CRegTree::SetValue(const std::wstring& path, const std::wstring& name,
                        const RegValueData& value) {
    CreateKey(path);
    keys_.at(Fold(path)).Set(name, value);
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

void CRegistryFile::EnsureLoaded() {
    if (loaded_)
        return;
    loaded_ = true;
    if (filePath_.empty() || !FileExists(filePath_))
        return;
    // A file that cannot be read leaves the store empty in memory; writes read it again and fail
    // in the same way, so that it is never replaced.
    CStoreLock fileLock(ToFileSystemPath(filePath_));
    ReadFile(tree_);
}

i32 CRegistryFile::ReadFile(CRegTree& tree) {
    tree = CRegTree();
    std::string path = ToFileSystemPath(filePath_);
    std::vector<u8> bytes;
    bool exists = false;
    if (i32 code = ReadAll(path, bytes, exists))
        return code;
    if (!exists || ParseRegistryExport(bytes, tree))
        return 0;
    std::string aside = DamagedName(path);
    if (::rename(path.c_str(), aside.c_str()) != 0)
        return LastErrorCode();
    damagedKeptAs_ = FromFileSystemPath(aside);
    return 0;
}

i32 CRegistryFile::WriteChanges() {
    if (pending_.empty())
        return 0;
    if (filePath_.empty())
        return win32::kPathNotFound;
    if (i32 code = CreateFolderTree(ParentPath(filePath_)))
        return code;
    CStoreLock fileLock(ToFileSystemPath(filePath_));
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
    pending_.clear();
    return 0;
}

i32 CRegistryFile::ReplaceFile(const std::vector<u8>& bytes) {
    std::string path = ToFileSystemPath(filePath_);
    std::string temp = path + ".tmp";
    CFd fd(::open(temp.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0600));
    if (!fd.Valid())
        return LastErrorCode();
    if (!WriteAll(fd.Get(), bytes) || ::fsync(fd.Get()) != 0 || ::close(fd.Release()) != 0) {
        i32 code = LastErrorCode();
        ::unlink(temp.c_str());
        return code;
    }
    if (beforeReplace_ && !beforeReplace_())
        return win32::kOperationAborted;
    if (::rename(temp.c_str(), path.c_str()) != 0) {
        i32 code = LastErrorCode();
        ::unlink(temp.c_str());
        return code;
    }
    // The rename itself lasts only once the folder that holds the name is synced.
    CFd folder(::open(ToFileSystemPath(ParentPath(filePath_)).c_str(),
                      O_RDONLY | O_DIRECTORY | O_CLOEXEC));
    if (folder.Valid())
        ::fsync(folder.Get());
    return 0;
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
