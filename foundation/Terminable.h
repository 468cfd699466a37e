// The stop question that long operations ask between steps.
#pragma once

// Answers whether the work that holds it should stop. A worker thread implements it; a long read
// asks it between chunks.
class CTerminable {
public:
    virtual bool IsTerminated() const = 0;

protected:
    ~CTerminable() = default;
};
