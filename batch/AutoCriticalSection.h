// A critical section with a name, and the scoped locks that enter and leave it.
// Any thread: this is the lock under which threads share the task lists.
#pragma once

#include <mutex>
#include <string>

class CAutoCriticalSection {
public:
    explicit CAutoCriticalSection(std::wstring sectionName = {}) : name(std::move(sectionName)) {}
    CAutoCriticalSection(const CAutoCriticalSection&) = delete;
    CAutoCriticalSection& operator=(const CAutoCriticalSection&) = delete;

    void Enter() { mutex_.lock(); }
    void Leave() { mutex_.unlock(); }

    std::wstring name;

private:
    std::mutex mutex_;
};

// Enters the section for the life of the object.
template <class TSection> class CAutoLock {
public:
    explicit CAutoLock(TSection& section) : section_(&section) { section_->Enter(); }
    CAutoLock(const CAutoLock&) = delete;
    CAutoLock& operator=(const CAutoLock&) = delete;
    virtual ~CAutoLock() { section_->Leave(); }

private:
    TSection* section_;
};

// The lock of the task lists; the same shape as CAutoLock.
class CNamedLock : public CAutoLock<CAutoCriticalSection> {
public:
    explicit CNamedLock(CAutoCriticalSection& section) : CAutoLock<CAutoCriticalSection>(section) {}
};
