#pragma once

#include <qvGLRenderer/qvGLRenderer.hpp>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <thread>

namespace qvgst {

/// A thread with a context of the library current. Streaming threads come and go, and an application may have a context
/// of its own current on any of them: so all GL work of an element happens here.
class RenderThread {
 public:
  /// Starts the library, when it does not run yet, and the thread.
  RenderThread();
  ~RenderThread();
  RenderThread(const RenderThread&) = delete;
  RenderThread& operator=(const RenderThread&) = delete;

  /// False when there is no context to render with; Failure() tells why.
  bool Ready() const { return ready_; }

  /// Runs the work on the thread and waits for its answer. Any thread may call; one is served at a time. @return false
  /// also for work that throws.
  bool Run(const std::function<bool()>& work);

  /// What the library or an exception said about the last work that failed.
  std::string Failure();

  /// Keeps the library running, for memory that it lends beyond this object's life.
  std::shared_ptr<qvg::Library> Library() const { return library_; }

 private:
  void Serve();
  bool Attempt(const std::function<bool()>& work);

  std::shared_ptr<qvg::Library> library_;
  std::mutex callers_;
  std::mutex mutex_;
  std::condition_variable changed_;
  const std::function<bool()>* work_ = nullptr;
  bool answer_ = false, answered_ = false, ready_ = false, ending_ = false;
  std::string failure_;
  std::thread thread_;
};

}  // namespace qvgst
