#include "base/serviceThread.h"

#include <utility>

#include "base/glContextPlatform.h"

namespace qvg {

ServiceThread::~ServiceThread() { Stop(); }

void ServiceThread::_Start() {
  if (thread_.joinable()) return;
  stop_ = false;
  // A host may unload the library without releasing it: the code of a running thread has to stay.
  pinned_ = PinLibrary();
  try {
    thread_ = std::thread([this] { _Serve(); });
  } catch (...) {
    UnpinLibrary(std::exchange(pinned_, nullptr));
    throw;
  }
  id_ = thread_.get_id();
}

void ServiceThread::_Await(Job& job) {
  std::unique_lock lock(mutex_);
  _Start();
  (last_ != nullptr ? last_->next : first_) = &job;
  last_ = &job;
  wakeUp_.notify_one();
  done_.wait(lock, [&] { return job.done; });
  lock.unlock();
  if (job.error != nullptr) std::rethrow_exception(job.error);
}

void ServiceThread::SetChore(std::function<bool()> chore, std::chrono::milliseconds pause) {
  std::unique_lock lock(mutex_);
  choreWanted_ = false;
  done_.wait(lock, [this] { return !choreRuns_; });
  chore_ = std::move(chore);
  pause_ = pause;
}

void ServiceThread::WakeUp() noexcept {
  std::lock_guard lock(mutex_);
  if (chore_ == nullptr || choreWanted_) return;
  choreWanted_ = true;
  wakeUp_.notify_one();
}

void ServiceThread::Stop() {
  {
    std::lock_guard lock(mutex_);
    stop_ = true;
    wakeUp_.notify_one();
  }
  if (!thread_.joinable()) return;
  thread_.join();
  id_ = std::thread::id();
  UnpinLibrary(std::exchange(pinned_, nullptr));
}

void ServiceThread::_Serve() {
  id_ = std::this_thread::get_id();
  std::unique_lock lock(mutex_);
  while (true) {
    if (first_ != nullptr) {
      _RunFirst(lock);
    } else if (stop_) {
      return;
    } else if (!choreWanted_) {
      wakeUp_.wait(lock);
    } else {
      _DoChore(lock);
    }
  }
}

void ServiceThread::_RunFirst(std::unique_lock<std::mutex>& lock) {
  Job& job = *first_;
  first_ = job.next;
  if (first_ == nullptr) last_ = nullptr;
  lock.unlock();
  try {
    job.run(job.work);
  } catch (...) {
    job.error = std::current_exception();
  }
  lock.lock();
  job.done = true;
  done_.notify_all();
}

void ServiceThread::_DoChore(std::unique_lock<std::mutex>& lock) {
  choreRuns_ = true;
  choreWanted_ = false;
  lock.unlock();
  const bool more = chore_();
  lock.lock();
  choreRuns_ = false;
  done_.notify_all();
  choreWanted_ = choreWanted_ || more;
  if (more) wakeUp_.wait_for(lock, pause_, [this] { return first_ != nullptr || stop_; });
}

}  // namespace qvg
