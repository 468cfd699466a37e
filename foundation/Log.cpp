// The UTF-16 log stream and the process-wide log object.
#include "foundation/Log.h"

#include <ext/stdio_filebuf.h>
#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include "foundation/FileIo.h"
#include "foundation/KnownFolders.h"
#include "foundation/Paths.h"

namespace {

bool PutUnit(char16_t unit, char*& to, char* toEnd) {
    if (toEnd - to < 2)
        return false;
    *to++ = static_cast<char>(unit & 0xFF);
    *to++ = static_cast<char>(unit >> 8);
    return true;
}

const std::locale& Utf16Locale() {
    static const std::locale locale(std::locale::classic(), new CUtf16Codecvt);
    return locale;
}

boost::shared_ptr<CLogFile> g_log;

// The log file at path, cut to length 0, opened without following a link. A link, a pipe or
// anything else that is neither a regular file nor a folder in its place is removed once and a new
// file made: the log is made anew at each start anyway.
i32 OpenLogFile(const std::wstring& path, CFileDescriptor& fd) {
    const i32 code = OpenOwnFile(path, O_WRONLY | O_CREAT | O_TRUNC, fd);
    if (code == 0)
        return 0;
    const std::string name = ToFileSystemPath(path);
    struct stat info {};
    if (::lstat(name.c_str(), &info) != 0 || S_ISREG(info.st_mode) || S_ISDIR(info.st_mode))
        return code;
    if (::unlink(name.c_str()) != 0)
        return code;
    return OpenOwnFile(path, O_WRONLY | O_CREAT | O_EXCL, fd);
}

} // namespace

std::codecvt_base::result CUtf16Codecvt::do_out(state_type&, const intern_type* from,
                                                const intern_type* fromEnd,
                                                const intern_type*& fromNext, extern_type* to,
                                                extern_type* toEnd, extern_type*& toNext) const {
    for (; from != fromEnd; ++from) {
        char32_t c = static_cast<char32_t>(*from);
        if (c == U'\r')
            continue;
        size_t need = c == U'\n' || c > 0xFFFF ? 4 : 2;
        if (static_cast<size_t>(toEnd - to) < need)
            break;
        if (c == U'\n') {
            PutUnit(u'\r', to, toEnd);
            PutUnit(u'\n', to, toEnd);
        } else if (c > 0xFFFF) {
            c -= 0x10000;
            PutUnit(static_cast<char16_t>(0xD800 + (c >> 10)), to, toEnd);
            PutUnit(static_cast<char16_t>(0xDC00 + (c & 0x3FF)), to, toEnd);
        } else {
            PutUnit(static_cast<char16_t>(c), to, toEnd);
        }
    }
    fromNext = from;
    toNext = to;
    return from == fromEnd ? ok : partial;
}

std::codecvt_base::result CUtf16Codecvt::do_unshift(state_type&, extern_type* to, extern_type*,
                                                    extern_type*& toNext) const {
    toNext = to;
    return noconv;
}

CUtf16Filebuf::CUtf16Filebuf() {
    pubimbue(Utf16Locale());
}

bool CUtf16Filebuf::OpenDescriptor(int fd) {
    if (is_open())
        close();
    // The standard buffer opens only by name; this one is built on the descriptor and its state
    // moved into ours.
    __gnu_cxx::stdio_filebuf<wchar_t> opened(fd, std::ios::out | std::ios::binary);
    if (!opened.is_open()) {
        ::close(fd);
        return false;
    }
    opened.pubimbue(Utf16Locale());
    swap(opened);
    return is_open();
}

bool CLogFile::OpenDefault() {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    std::wstring folder = AppDataFolder();
    if (folder.empty() || CreateFolderTree(folder) != 0) {
        setstate(std::ios::failbit);
        return false;
    }
    AppendPath(folder, L"LOG.txt");
    return Open(folder);
}

bool CLogFile::Open(const std::wstring& path) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    lockName_ = path;
    if (buffer_.is_open() && !buffer_.close())
        setstate(std::ios::failbit);
    clear();
    CFileDescriptor fd;
    if (OpenLogFile(path, fd) != 0 || !buffer_.OpenDescriptor(fd.Release())) {
        setstate(std::ios::failbit);
        return false;
    }
    *this << L'\uFEFF';
    flush();
    if (!good())
        return false;
    path_ = path;
    return true;
}

void CLogFile::Close() {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    if (buffer_.is_open() && !buffer_.close())
        setstate(std::ios::failbit);
}

void CLogFile::Write(const std::wstring& text) {
    std::lock_guard<std::recursive_mutex> guard(lock_);
    *this << text;
    flush();
}

boost::shared_ptr<CLogFile> TheLog() {
    return g_log;
}

void StartLog() {
    g_log.reset(new CLogFile);
    g_log->OpenDefault();
}

void StopLog() {
    if (!g_log)
        return;
    g_log->Close();
    g_log.reset();
}
