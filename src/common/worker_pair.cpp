#include "common/worker_pair.h"

#include "common/guard.h"
#include "platform/platform.h"

namespace brantel {

bool Worker::start(void (*onStart)()) {
    platform::keepLibraryLoaded();
    bool ended = false;
    {
        const std::lock_guard<std::mutex> hold(mutex_);
        run_ = true;  // before the thread exists: a thread that finds it clear ends at once
        onStart_ = onStart;
        ended = ended_;
    }
    if (ended) join();
    if (!started_) started_ = pthread_create(&thread_, nullptr, &Worker::threadBody, this) == 0;
    return started_;
}

void* Worker::threadBody(void* self) {
    static_cast<Worker*>(self)->loop();
    return nullptr;
}

void Worker::loop() {
    std::unique_lock<std::mutex> hold(mutex_);
    if (void (*onStart)() = onStart_) {
        hold.unlock();
        onStart();
        hold.lock();
    }
    while (run_) {
        changed_.wait(hold, [this] { return requested_ || !run_; });
        if (!requested_) continue;
        const Job job = job_;
        hold.unlock();
        const bool done = succeeds("worker job", [&job] { return job.run(job.context); });
        hold.lock();
        failed_ = !done;
        requested_ = false;
        changed_.notify_all();
    }
    ended_ = true;
}

bool Worker::request(Job job) {
    const std::lock_guard<std::mutex> hold(mutex_);
    if (!started_ || !run_ || ended_) return false;
    job_ = job;
    failed_ = false;
    requested_ = true;
    changed_.notify_all();
    return true;
}

bool Worker::wait() {
    std::unique_lock<std::mutex> hold(mutex_);
    changed_.wait(hold, [this] { return !requested_; });
    return !failed_;
}

void Worker::clearRunFlag() {
    const std::lock_guard<std::mutex> hold(mutex_);
    run_ = false;
    changed_.notify_all();
}

bool Worker::join() {
    if (!started_) return false;
    started_ = false;
    const bool joined = pthread_join(thread_, nullptr) == 0;
    ended_ = false;
    return joined;
}

bool WorkerPair::begin(Job modelJob, Job matchJob) {
    broke_ = true;
    if (!model.request(modelJob)) return false;
    if (match.request(matchJob)) return true;
    model.wait();
    return false;
}

bool WorkerPair::wait() {
    const bool modelDone = model.wait();
    const bool matchDone = match.wait();
    broke_ = !modelDone || !matchDone;
    return !broke_;
}

void WorkerPair::clearRunFlags() {
    model.clearRunFlag();
    match.clearRunFlag();
}

}  // namespace brantel
