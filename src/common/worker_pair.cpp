#include "common/worker_pair.h"

#include <cstdio>

#include "common/guard.h"
#include "common/log.h"
#include "platform/platform.h"

namespace brantel {

namespace {

bool runJob(const Job& job) {
    return succeeds("worker job", [&job] { return job.run(job.context); });
}

void reportJoin(const char* thread, bool joined) {
    char line[64];
    std::snprintf(line, sizeof line, "pthread_join %s %s", thread, joined ? "success" : "failed");
    streamLine(line);
}

}  // namespace

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
        const bool done = runJob(job);
        hold.lock();
        failed_ = !done;
        requested_ = false;
        changed_.notify_all();
    }
    ended_ = true;
}

bool Worker::isRunning() {
    const std::lock_guard<std::mutex> hold(mutex_);
    return takesJobs();
}

bool Worker::request(Job job) {
    const std::lock_guard<std::mutex> hold(mutex_);
    if (!takesJobs()) return false;
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

bool WorkerPair::start(void (*onMatchStart)()) {
    if (!model.start(nullptr)) {
        streamLine("ALG_template_model_init_process_pthread faled");
        return false;
    }
    if (match.start(onMatchStart)) return true;
    streamLine("ALG_search_match_init_process_pthread faled");
    return false;
}

void WorkerPair::join(const char* modelName, const char* matchName) {
    model.clearRunFlag();
    match.clearRunFlag();
    reportJoin(modelName, model.join());
    reportJoin(matchName, match.join());
}

bool WorkerPair::runBoth(Job modelJob, Job matchJob) {
    broke_ = true;
    if (!match.isRunning() || !model.request(modelJob)) return false;
    const bool matchDone = runJob(matchJob);
    const bool modelDone = model.wait();
    broke_ = !modelDone || !matchDone;
    return !broke_;
}

bool WorkerPair::runAlone(Job job) {
    broke_ = !match.isRunning() || !model.isRunning() || !runJob(job);
    return !broke_;
}

}  // namespace brantel
