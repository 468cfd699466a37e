// The per-user registry store: the keys below HKEY_CURRENT_USER kept in one file in the
// registry's own text export format, read once and written atomically under a lock.
#pragma once

#include <functional>
#include <list>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "foundation/Types.h"

// Texts in the store are UTF-16LE. A character beyond U+FFFF becomes a surrogate pair; a lone
// surrogate passes as one unit both ways, so that any stored text survives a round trip.
std::vector<u8> Utf16LeFromWide(std::wstring_view text);
std::wstring WideFromUtf16Le(const u8* bytes, std::size_t byteCount);

// One value of a key: its registry type and its bytes exactly as stored (texts as UTF-16LE).
struct RegValueData {
    u32 type = 0;
    std::vector<u8> bytes;
    bool operator==(const RegValueData&) const = default;
};

// A key of the store: its path below HKEY_CURRENT_USER as first spelt, and its values in the
// order in which they were first set. Names compare without regard to ASCII case; the empty name
// is the default value. Finding, setting and removing a value take constant time, so that a key
// with many values is read in time linear in its size.
class RegKeyData {
public:
    using Values = std::list<std::pair<std::wstring, RegValueData>>;

    RegKeyData() = default;
    explicit RegKeyData(std::wstring keyPath) : path(std::move(keyPath)) {}
    RegKeyData(const RegKeyData& other);
    RegKeyData& operator=(const RegKeyData& other);
    RegKeyData(RegKeyData&&) = default;
    RegKeyData& operator=(RegKeyData&&) = default;

    const RegValueData* Find(const std::wstring& name) const;
    void Set(const std::wstring& name, const RegValueData& value);
    void Remove(const std::wstring& name);
    const Values& AllValues() const { return values_; }
    bool operator==(const RegKeyData& other) const {
        return path == other.path && values_ == other.values_;
    }

    std::wstring path;

private:
    void Reindex();

    Values values_;
    std::unordered_map<std::wstring, Values::iterator> index_; // by folded name
};

// All keys of the store, by their folded path. The root itself has the empty path.
class CRegTree {
public:
    bool HasKey(const std::wstring& path) const;
    const RegKeyData* FindKey(const std::wstring& path) const;
    // Creates the key with all its parents; true when it did not exist before.
    bool CreateKey(const std::wstring& path);
    // The key, created with its parents when missing. The reference stays valid until the key is
    // removed.
    RegKeyData& Key(const std::wstring& path);
    void RemoveKey(const std::wstring& path); // with all its sub-keys
    void SetValue(const std::wstring& path, const std::wstring& name, const RegValueData& value);
    void RemoveValue(const std::wstring& path, const std::wstring& name);
    const std::map<std::wstring, RegKeyData>& Keys() const { return keys_; }
    bool operator==(const CRegTree&) const = default;

private:
    std::map<std::wstring, RegKeyData> keys_;
};

// The store behind one file. Reading happens once, at the first use. Each change is written at
// once, unless a write batch is open, in which case the changes go out together when the last
// batch closes. A write takes the lock file beside the store, reads the file again, lays this
// process's changes over it (ours win for the values that we set; keys and values of others
// survive) and replaces the file atomically (foundation/FileIo.h). When the store's name is a
// link, the file that it points to is read and replaced and the link stays. A file that cannot be
// parsed, or a regular file of more than 1 MiB (refused on its size, unread), is renamed aside
// (name + ".damaged-YYYYMMDD-HHMMSS"), a line in the log says where, and the store starts empty.
// Anything else that is no regular file once links are followed (a folder, a pipe, a device, a
// socket, a loop of links) is neither read nor waited on nor ever replaced: a line in the log says
// why, and the store starts empty. Running out of memory while reading throws std::bad_alloc to the
// caller and leaves the file as it is; a write answers it with code 8. All calls come from the main
// thread; a mutex guards the state all the same.
class CRegistryFile {
public:
    explicit CRegistryFile(std::wstring filePath);

    const std::wstring& FilePath() const { return filePath_; }

    bool KeyExists(const std::wstring& path);
    // Win32 codes: 0, or the code of a failed write of the file.
    i32 CreateKey(const std::wstring& path, bool& created);
    // False when the key or the value does not exist.
    bool QueryValue(const std::wstring& path, const std::wstring& name, RegValueData& out);
    i32 SetValue(const std::wstring& path, const std::wstring& name, const RegValueData& value);

    // Opens a batch of writes; EndWriteBatch of the outermost batch writes the file and returns
    // its Win32 code (0 also when nothing changed).
    void BeginWriteBatch();
    i32 EndWriteBatch();

    // Writes the pending changes now; 0 when there were none.
    i32 Flush();

    // The name under which a damaged file was kept aside by this object; empty when none was.
    const std::wstring& DamagedFileKeptAs() const { return damagedKeptAs_; }
    // The sentence for the user that says why the file was not read, or where it was kept aside;
    // empty when it was read (or there was none). The same sentence went into the log.
    const std::wstring& NotReadMessage() const { return notRead_; }

    // Called after the temporary file is written and synced, before it replaces the store; a
    // false answer ends the write there, as a crash would, and leaves the temporary file behind.
    void SetBeforeReplaceHook(std::function<bool()> hook) { beforeReplace_ = std::move(hook); }

private:
    struct Change {
        bool isValue = false;
        std::wstring path;
        std::wstring name;
        RegValueData value;
    };

    void EnsureLoaded();
    i32 WriteChanges();
    i32 MaybeFlush();
    // Reads the file into tree; a damaged file is moved aside and tree left empty. A file that
    // exists but cannot be read is an error (the code), so that nothing overwrites it.
    i32 ReadFile(CRegTree& tree);
    i32 ReplaceFile(const std::vector<u8>& bytes);
    // Keeps text as NotReadMessage and writes it to the log, unless it is the one kept already.
    void Report(const std::wstring& text);

    std::wstring filePath_;
    std::mutex mutex_;
    bool loaded_ = false;
    CRegTree tree_;
    std::vector<Change> pending_;
    int batchDepth_ = 0;
    std::wstring damagedKeptAs_;
    std::wstring notRead_;
    std::function<bool()> beforeReplace_;
};

// The store of this process, at SettingsFilePath(), made at the first call.
std::shared_ptr<CRegistryFile> TheRegistryFile();
// Drops the store of this process so that the next call makes it anew, from the file at the
// present SettingsFilePath(). For tests that move the XDG folders.
void ResetTheRegistryFile();
