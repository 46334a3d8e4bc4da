// The two worker threads of a backend and their hand-off, the same for all backends.
#pragma once

#include <pthread.h>

#include <condition_variable>
#include <mutex>
#include <type_traits>

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

/// One thread that sleeps until a job is handed to it.
class Worker {
  public:
    /// Starts the thread unless it runs already, also in place of one that has ended. onStart is called first
    /// thing on the new thread; may be null.
    bool start(void (*onStart)());
    /// True when a thread takes jobs.
    bool isRunning();
    /// Hands over a job. False when no thread runs: nobody may wait for a job that nobody does.
    bool request(Job job);
    /// Waits until the job is done. False when it failed or ended in an exception (which has been logged).
    bool wait();
    /// The thread finishes its job, if any, and ends. A job may call it to end its own thread.
    void clearRunFlag();
    /// Joins the thread; false when there is none.
    bool join();

  private:
    static void* threadBody(void* self);
    bool takesJobs() const { return started_ && run_ && !ended_; }
    void loop();

    std::mutex mutex_;
    std::condition_variable changed_;
    pthread_t thread_{};
    void (*onStart_)() = nullptr;
    Job job_;
    bool started_ = false;  // there is a thread to join
    bool ended_ = false;    // it has left its loop
    bool run_ = false;
    bool requested_ = false;
    bool failed_ = false;
};

/// The template-model worker (previous frame) and the search-match worker (current frame). The caller's
/// thread is a third pair of hands: it does one of two jobs itself.
struct WorkerPair {
    Worker model;
    Worker match;

    /// Starts both threads, the match worker's with onMatchStart (see Worker). False, with a line, when one cannot be
    /// started; a model thread that runs by then is left running.
    bool start(void (*onMatchStart)() = nullptr);
    /// Ends both threads after the job in progress, if any, and says for each under its name whether there was one.
    void join(const char* modelName, const char* matchName);

    /// Does both jobs at the same time, the model's on its worker. False when one of the threads does not run
    /// or a job failed (an exception has been logged). What the jobs wrote is visible afterwards.
    bool runBoth(Job modelJob, Job matchJob);
    /// The same with a single job, on the caller's thread: the workers stay at its service.
    bool runAlone(Job job);
    /// True when the last jobs were not begun or did not come to their end.
    bool broke() const { return broke_; }

  private:
    bool broke_ = false;
};

}  // namespace brantel
