#pragma once

#include <atomic>
#include <chrono>
#include <condition_variable>
#include <exception>
#include <functional>
#include <mutex>
#include <thread>
#include <type_traits>

namespace qvg {

/// A thread of the library's own: for what needs a context where none of the library's can be current, and for chores
/// in the background. Starts with the first work. When the process exits it is neither ended nor waited for.
class ServiceThread {
 public:
  ServiceThread() = default;
  /// Stops it.
  ~ServiceThread();
  ServiceThread(const ServiceThread&) = delete;
  ServiceThread& operator=(const ServiceThread&) = delete;

  /// Runs the work there and waits for it; what it throws is thrown here. Called on the thread itself, just runs it.
  /// Doesn't allocate once the thread is running. Throws when the thread can't be started.
  template <class Work>
  void Run(Work&& work) {
    if (IsCurrent()) return static_cast<void>(work());
    Job job;
    job.work = const_cast<void*>(static_cast<const void*>(&work));
    job.run = [](void* callable) { (*static_cast<std::remove_reference_t<Work>*>(callable))(); };
    _Await(job);
  }
  bool IsCurrent() const { return id_.load() == std::this_thread::get_id(); }

  /// From now on every WakeUp lets the thread do the chore, again after each pause for as long as it answers true. It
  /// must not throw. An empty function: no chore. Waits for a chore that is at work.
  void SetChore(std::function<bool()> chore, std::chrono::milliseconds pause);
  /// Asks for the chore. Any thread; doesn't throw. A thread that isn't running yet is started by the next Run.
  void WakeUp() noexcept;

  /// Ends the thread when its jobs are done. Not on the thread itself.
  void Stop();

 private:
  struct Job {
    void* work = nullptr;
    void (*run)(void* work) = nullptr;
    std::exception_ptr error;
    Job* next = nullptr;
    bool done = false;
  };

  void _Await(Job& job);
  void _Start();
  void _Serve();
  void _RunFirst(std::unique_lock<std::mutex>& lock);
  void _DoChore(std::unique_lock<std::mutex>& lock);

  std::mutex mutex_;
  std::condition_variable wakeUp_;
  std::condition_variable done_;
  Job* first_ = nullptr;  // on the stacks of those who wait
  Job* last_ = nullptr;
  std::function<bool()> chore_;
  std::chrono::milliseconds pause_ = {};
  bool choreWanted_ = false;
  bool choreRuns_ = false;
  bool stop_ = false;
  std::thread thread_;
  std::atomic<std::thread::id> id_ = std::thread::id();
  void* pinned_ = nullptr;  // keeps the library loaded while the thread runs
};

}  // namespace qvg
