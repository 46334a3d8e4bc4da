#include "common/worker_pair.h"

#include <cstdio>

#include "common/guard.h"
#include "common/look_out.h"
#include "platform/platform.h"

namespace brantel {

namespace {

bool runJob(const Log& log, const Job& job) {
    return succeeds(log, "worker job", [&job] { return job.run(job.context); });
}

}  // namespace

Worker::~Worker() {
    if (isRunning()) wait();  // for a job that nobody waited for
    clearRunFlag();
    join();
}

bool Worker::isInherited() const {
    return shared_ != nullptr && process_ != platform::processId();
}

/// The lock may be held by a thread that only the parent has, so it can neither be used nor destroyed.
void Worker::forgetInherited() {
    if (isInherited()) (void)shared_.release();
}

bool Worker::start(const char* firstLine) {
    platform::keepLibraryLoaded();
    forgetInherited();
    bool ended = false;
    if (shared_ != nullptr) {
        const std::lock_guard<std::mutex> hold(shared_->mutex);
        shared_->run = true;
        ended = shared_->ended;
    }
    if (ended) join();
    if (shared_ != nullptr) return true;
    shared_ = std::make_unique<Shared>();
    firstLine_ = firstLine;
    processors_ = {};
    process_ = platform::processId();
    if (pthread_create(&thread_, nullptr, &Worker::threadBody, this) == 0) return true;
    shared_.reset();
    return false;
}

void* Worker::threadBody(void* self) {
    static_cast<Worker*>(self)->loop();
    return nullptr;
}

void Worker::loop() {
    Shared& shared = *shared_;
    if (firstLine_ != nullptr) log_.streamLine(firstLine_);
    std::unique_lock<std::mutex> hold(shared.mutex);
    while (shared.run) {
        hold.unlock();
        lookOutFor([&] { return shared.hasNews(); });
        hold.lock();
        shared.changed.wait(hold, [&] { return shared.hasNews(); });
        if (!shared.requested) continue;
        const Job job = shared.job;
        shared.begun = true;
        hold.unlock();
        const bool done = runJob(log_, job);
        hold.lock();
        shared.failed = !done;
        shared.requested = false;
        shared.changed.notify_all();
    }
    shared.ended = true;
}

bool Worker::isRunning() {
    if (shared_ == nullptr || isInherited()) return false;
    const std::lock_guard<std::mutex> hold(shared_->mutex);
    return shared_->run && !shared_->ended;
}

bool Worker::request(Job job) {
    if (shared_ == nullptr || isInherited()) return false;
    const std::lock_guard<std::mutex> hold(shared_->mutex);
    if (!shared_->takesJobs()) return false;
    processors_.keepOffMine(thread_);
    shared_->job = job;
    shared_->begun = shared_->failed = false;
    shared_->requested = true;
    shared_->changed.notify_all();
    return true;
}

bool Worker::withdraw() {
    if (shared_ == nullptr || isInherited()) return false;
    const std::lock_guard<std::mutex> hold(shared_->mutex);
    if (!shared_->requested || shared_->begun) return false;
    shared_->requested = false;
    return true;
}

bool Worker::wait() {
    if (shared_ == nullptr || isInherited()) return true;
    lookOutFor([this] { return !shared_->requested; });
    std::unique_lock<std::mutex> hold(shared_->mutex);
    shared_->changed.wait(hold, [this] { return !shared_->requested; });
    return !shared_->failed;
}

void Worker::clearRunFlag() {
    if (shared_ == nullptr || isInherited()) return;
    const std::lock_guard<std::mutex> hold(shared_->mutex);
    shared_->run = false;
    shared_->changed.notify_all();
}

bool Worker::join() {
    forgetInherited();
    if (shared_ == nullptr) return false;
    const bool joined = pthread_join(thread_, nullptr) == 0;
    shared_.reset();
    return joined;
}

void WorkerPair::reportJoin(const char* thread, bool joined) const {
    char line[64];
    std::snprintf(line, sizeof line, "pthread_join %s %s", thread, joined ? "success" : "failed");
    log_.streamLine(line);
}

bool WorkerPair::start(const char* firstLine) {
    if (!model.start(nullptr)) {
        log_.streamLine("ALG_template_model_init_process_pthread faled");
        return false;
    }
    if (match.start(firstLine)) return true;
    log_.streamLine("ALG_search_match_init_process_pthread faled");
    return false;
}

void WorkerPair::join(const char* modelName, const char* matchName) {
    model.clearRunFlag();
    match.clearRunFlag();
    reportJoin(modelName, model.join());
    reportJoin(matchName, match.join());
}

bool WorkerPair::runBoth(Job modelJob, Job matchJob) {
    if (!match.isRunning() || !model.request(modelJob)) return false;
    const bool matchDone = runJob(log_, matchJob);
    const bool modelDone = model.wait();
    return modelDone && matchDone;
}

bool WorkerPair::runAlone(Job job) {
    return match.isRunning() && model.isRunning() && runJob(log_, job);
}

}  // namespace brantel
