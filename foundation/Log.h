// The process log: LOG.txt in the application data folder, UTF-16LE with a byte order mark,
// made anew at each start. Every operation takes the log's lock, so both threads may write.
#pragma once

#include <fstream>
#include <locale>
#include <mutex>
#include <string>

#include <boost/shared_ptr.hpp>

// Wide characters to UTF-16LE bytes. A line feed becomes CR LF, a carriage return is dropped,
// characters beyond the basic plane become surrogate pairs.
class CUtf16Codecvt : public std::codecvt<wchar_t, char, std::mbstate_t> {
public:
    explicit CUtf16Codecvt(size_t refs = 0) : std::codecvt<wchar_t, char, std::mbstate_t>(refs) {}

protected:
    result do_out(state_type& state, const intern_type* from, const intern_type* fromEnd,
                  const intern_type*& fromNext, extern_type* to, extern_type* toEnd,
                  extern_type*& toNext) const override;
    result do_unshift(state_type&, extern_type* to, extern_type*,
                      extern_type*& toNext) const override;
    int do_encoding() const noexcept override { return 0; }
    bool do_always_noconv() const noexcept override { return false; }
    int do_max_length() const noexcept override { return 4; }
};

// A wide file buffer opened in binary mode with the UTF-16 facet.
class CUtf16Filebuf : public std::basic_filebuf<wchar_t> {
public:
    CUtf16Filebuf();
    // Takes over fd, a file open for writing, closing what the buffer held before. The buffer
    // closes fd with itself.
    bool OpenDescriptor(int fd);
};

class CUtf16Ofstream : public std::basic_ostream<wchar_t> {
public:
    CUtf16Ofstream() : std::basic_ostream<wchar_t>(&buffer_) {}
    CUtf16Filebuf* rdbuf() { return &buffer_; }

protected:
    CUtf16Filebuf buffer_;
};

// The log file: a UTF-16 stream with a lock and the path of the open file.
class CLogFile : public CUtf16Ofstream {
public:
    // Opens LOG.txt in the application data folder, making the folder when it is missing.
    bool OpenDefault();
    // Opens path cut to length 0 and writes the byte order mark. A failure leaves a failed stream.
    // A link in path's place is never followed: it is replaced by a new file, so that the start
    // cannot cut the file that the link points to.
    bool Open(const std::wstring& path);
    void Close();
    const std::wstring& Path() const { return path_; }
    // Writes one text under the lock; no effect on a failed stream.
    void Write(const std::wstring& text);

private:
    std::recursive_mutex lock_;
    std::wstring lockName_;
    std::wstring path_;
};

// The process-wide log: null before StartLog and after StopLog.
boost::shared_ptr<CLogFile> TheLog();
void StartLog();
void StopLog();
