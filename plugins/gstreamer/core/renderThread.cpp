#include "core/renderThread.h"

#include <exception>
#include <utility>

#include "core/images.h"
#include "core/log.h"

namespace qvgst {

RenderThread::RenderThread() : library_(std::make_shared<qvg::Library>(kLibraryConfig)) {
  thread_ = std::thread([this] { Serve(); });
  // Nothing to do: answered once the thread has its context, or has none.
  ready_ = Run([] { return true; });
}

RenderThread::~RenderThread() {
  {
    const std::lock_guard lock(mutex_);
    ending_ = true;
  }
  changed_.notify_all();
  thread_.join();
}

bool RenderThread::Run(const std::function<bool()>& work) {
  const std::lock_guard turn(callers_);
  std::unique_lock lock(mutex_);
  failure_.clear();
  work_ = &work;
  changed_.notify_all();
  changed_.wait(lock, [this] { return answered_; });
  answered_ = false;
  return answer_;
}

std::string RenderThread::Failure() {
  const std::lock_guard lock(mutex_);
  return failure_;
}

void RenderThread::Serve() {
  const qvg::Context context = *library_ ? qvg::Context::New() : qvg::Context();
  const qvg::CurrentContext current(context);
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return ending_ || work_ != nullptr; });
    if (work_ == nullptr) return;
    const std::function<bool()>& work = *std::exchange(work_, nullptr);
    lock.unlock();
    // Warnings of work that was done all the same don't explain this one's failure.
    if (current) TakeFailureLines();
    const bool done = current && Attempt(work);
    std::string lines = done ? std::string() : TakeFailureLines();
    lock.lock();
    if (!done && !lines.empty()) failure_ = std::move(lines);
    answer_ = done;
    answered_ = true;
    changed_.notify_all();
  }
}

bool RenderThread::Attempt(const std::function<bool()>& work) {
  try {
    return work();
  } catch (const std::exception& error) {
    const std::lock_guard lock(mutex_);
    failure_ = error.what();
  }
  return false;
}

}  // namespace qvgst
