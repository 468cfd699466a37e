// CCanTerminate: something that asks another object whether it should stop.
#pragma once

#include "foundation/Terminable.h"

// Answers with the answer of the object it points to (its worker thread); false with none.
class CCanTerminate : public CTerminable {
public:
    bool IsTerminated() const override {
        return terminable != nullptr && terminable->IsTerminated();
    }

    const CTerminable* terminable = nullptr; // not owned; set by the worker before a run

protected:
    ~CCanTerminate() = default;
};
