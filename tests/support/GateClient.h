// A task client for thread tests: it records each finished task and, until the test opens the
// gate, holds the worker inside the call, so tests synchronise on events instead of time.
#pragma once

#include <condition_variable>
#include <mutex>
#include <string>
#include <vector>

#include <boost/shared_ptr.hpp>

#include "batch/LunavexTask.h"

class CGateClient : public lvx::CLunavexTaskClient {
public:
    void OnTaskFinished(boost::shared_ptr<lvx::CLunavexTask> task) override {
        std::unique_lock<std::mutex> guard(lock_);
        finished_.push_back(task);
        inside_ = true;
        changed_.notify_all();
        changed_.wait(guard, [this] { return open_; });
        inside_ = false;
    }
    // Returns once the worker is held inside OnTaskFinished.
    void WaitUntilInside() {
        std::unique_lock<std::mutex> guard(lock_);
        changed_.wait(guard, [this] { return inside_; });
    }
    // Lets the held worker and every later one through.
    void Open() {
        std::lock_guard<std::mutex> guard(lock_);
        open_ = true;
        changed_.notify_all();
    }
    std::vector<boost::shared_ptr<lvx::CLunavexTask>> Finished() {
        std::lock_guard<std::mutex> guard(lock_);
        return finished_;
    }
    size_t FinishedCount() { return Finished().size(); }

private:
    std::vector<boost::shared_ptr<lvx::CLunavexTask>> finished_;
    std::mutex lock_;
    std::condition_variable changed_;
    bool inside_ = false;
    bool open_ = false;
};

// A task named name whose output folder cannot be made: run by a worker, it fails at once with
// kCreateFolderFailed, touching nothing, and calls its client, which may hold the worker there.
inline boost::shared_ptr<lvx::CLunavexTask> FailingTask(lvx::CLunavexTaskClient* client,
                                                        const wchar_t* name) {
    boost::shared_ptr<lvx::CLunavexTask> task(new lvx::CLunavexTask);
    task->Init(name, std::wstring(L"/dev/null/") + name, client);
    return task;
}
