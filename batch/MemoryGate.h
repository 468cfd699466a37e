// CMemoryGate: which file of a parallel batch may start converting, by the memory that each
// will need.
#pragma once

#include <cstddef>

#include "foundation/Types.h"

// Admits the files of a parallel run to the workers by the memory that each will need: a file's
// estimate is reserved from the budget while it converts, and the output of a converted file
// while it waits in memory to be written; a file that does not fit in what is left waits until
// earlier ones finish or are written, and a file alone, with no output waiting, may always take
// the whole budget. Files are admitted in their order. Not thread-safe: every call is made under
// the batch's own lock.
class CMemoryGate {
public:
    explicit CMemoryGate(u64 budget) : budget_(budget) {}

    // Whether file i, of the given estimate, may start now.
    bool MayStart(std::size_t i, u64 estimate) const {
        return i == admitted_ && !held_ &&
               ((inFlight_ == 0 && waiting_ == 0) || reserved_ + waiting_ + estimate <= budget_);
    }
    void Start(u64 estimate) {
        ++admitted_;
        ++inFlight_;
        reserved_ += estimate;
    }
    void Finish(u64 estimate) {
        --inFlight_;
        reserved_ -= estimate;
    }
    // A converted file's output of `bytes` waits to be written, and then is.
    void Keep(u64 bytes) { waiting_ += bytes; }
    void Written(u64 bytes) { waiting_ -= bytes; }
    // While held, no file starts; Idle tells when the files in flight have finished.
    void Hold(bool held) { held_ = held; }
    bool Idle() const { return inFlight_ == 0; }

private:
    u64 budget_;
    u64 reserved_ = 0;
    u64 waiting_ = 0; // outputs converted and not yet written
    std::size_t inFlight_ = 0;
    std::size_t admitted_ = 0;
    bool held_ = false;
};
