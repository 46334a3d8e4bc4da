// The two worker threads of a backend and their hand-off, the same for all backends.
#pragma once

#include <pthread.h>

#include <atomic>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <type_traits>

#include "common/log.h"
#include "platform/platform.h"

namespace brantel {

/// A call to be made on a worker. Refers to its callable, which must outlive the job. A callable that returns
/// bool fails with false.
struct Job {
    bool (*run)(void*) = nullptr;
    void* context = nullptr;

    template <class F>
    static Job of(F& callable) {
        return {[](void* context) {
                    F& call = *static_cast<F*>(context);
                    if constexpr (std::is_void_v<decltype(call())>) {
                        call();
                        return true;
                    } else {
                        return call();
                    }
                },
                &callable};
    }
};

/// One thread that sleeps until a job is handed to it. A call hands over many jobs one soon after the other, and waking a
/// thread takes longer than some of them: whoever waits, the worker for its next job or the host for the result, looks
/// out for a moment before it sleeps. In a forked child, where the thread does not exist, the worker
/// counts as one that was never started, and no lock of the parent's is touched.
class Worker {
  public:
    /// Where the failure of a job is reported. The log must outlive the worker.
    explicit Worker(const Log& log) : log_(log) {}
    Worker(const Worker&) = delete;
    Worker& operator=(const Worker&) = delete;
    /// Ends the thread after the job that it has, if any.
    ~Worker();

    /// Starts the thread unless it runs already, also in place of one that has ended. firstLine is written first
    /// thing on the new thread; may be null.
    bool start(const char* firstLine);
    /// True when there is a thread that goes on taking jobs.
    bool isRunning();
    /// Hands over a job. False when no thread runs or it has one: nobody may wait for a job that nobody does.
    bool request(Job job);
    /// Takes back a job that the worker has not begun. False when it has, or has none: it is to be waited for.
    bool withdraw();
    /// Waits until the job is done. False when it failed or ended in an exception (which has been logged).
    bool wait();
    /// The thread finishes its job, if any, and ends. A job may call it to end its own thread.
    void clearRunFlag();
    /// Joins the thread; false when there is none.
    bool join();
    /// True when the thread was started by the process that this one was forked from.
    bool isInherited() const;

  private:
    /// What the worker's thread shares with the others.
    struct Shared {
        std::mutex mutex;
        std::condition_variable changed;
        Job job;
        bool ended = false;  // the thread has left its loop
        bool begun = false;  // the job
        bool failed = false;
        // Written under the lock, looked at without it by who is about to wait.
        std::atomic<bool> run{true};
        std::atomic<bool> requested{false};

        bool takesJobs() const { return run && !ended && !requested; }
        bool hasNews() const { return requested || !run; }
    };

    static void* threadBody(void* self);
    void loop();
    void forgetInherited();

    const Log& log_;
    std::unique_ptr<Shared> shared_;  // while there is a thread to join
    pthread_t thread_{};
    platform::OtherProcessors processors_;  // that the thread is woken on
    const char* firstLine_ = nullptr;
    std::int64_t process_ = 0;  // that started the thread
};

/// The template-model worker (previous frame) and the search-match worker (current frame). The caller's
/// thread does one of two jobs itself.
struct WorkerPair {
    Worker model;
    Worker match;

    explicit WorkerPair(const Log& log) : model(log), match(log), log_(log) {}

    /// Starts both threads, the match worker's with firstLine (see Worker). False, with a line, when one
    /// cannot be started; a model thread that runs by then is left running.
    bool start(const char* firstLine = nullptr);
    /// Ends both threads after the job in progress, if any, and says for each under its name whether there
    /// was one.
    void join(const char* modelName, const char* matchName);
    /// True in a forked child of the process that started the threads.
    bool areInherited() const { return model.isInherited() || match.isInherited(); }

    /// Does both jobs at the same time, the model's on its worker. False when one of the threads does not run
    /// or a job failed (an exception has been logged). What the jobs wrote is visible afterwards.
    bool runBoth(Job modelJob, Job matchJob);
    /// The same with a single job, on the caller's thread: the workers stay at its service.
    bool runAlone(Job job);

  private:
    void reportJoin(const char* thread, bool joined) const;

    const Log& log_;
};

}  // namespace brantel
