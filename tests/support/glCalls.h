#pragma once

#include <cstring>
#include <string_view>

#include <glad/gl.h>

#include "glCallList.h"  // cmake/QvgGlCalls.cmake

namespace qvg::test {

/// Calls of OpenGL on one thread.
struct CallCounts {
  int calls = 0;
  int errorChecks = 0;  ///< Of them glGetError.
  int objects = 0;      ///< Of them those that make or delete objects, without fences.
  int syncs = 0;        ///< Of them fences, waits for fences, flushes and finishes.
  int barriers = 0;     ///< Of them glTextureBarrier.

  CallCounts operator-(const CallCounts& before) const {
    return {calls - before.calls, errorChecks - before.errorChecks, objects - before.objects, syncs - before.syncs,
            barriers - before.barriers};
  }
};

/// The calling thread's, counted by the wrappers below since the thread began.
inline CallCounts& ThreadCalls() {
  static thread_local CallCounts counts;
  return counts;
}

constexpr bool MakesOrDeletes(std::string_view call) {
  if (call == "DeleteSync") return false;
  for (const std::string_view verb : {"Gen", "Create", "Delete"}) {
    // A capital has to follow: glGenerateMipmap makes no object.
    if (call.starts_with(verb) && call.size() > verb.size() && call[verb.size()] <= 'Z') return true;
  }
  return false;
}

constexpr bool Synchronises(std::string_view call) {
  return call == "FenceSync" || call == "WaitSync" || call == "ClientWaitSync" || call == "Flush" || call == "Finish";
}

/// The counts for a call of that name, without its "gl".
constexpr CallCounts CostOf(std::string_view call) {
  return {1, call == "GetError" ? 1 : 0, MakesOrDeletes(call) ? 1 : 0, Synchronises(call) ? 1 : 0,
          call == "TextureBarrier" ? 1 : 0};
}

/// Wraps one entry point: that of kPointer, the loader's variable for it.
template <auto kPointer>
struct CountedCall;

template <class Result, class... Arguments, Result(GLAD_API_PTR** kPointer)(Arguments...)>
struct CountedCall<kPointer> {
  using Function = Result(GLAD_API_PTR*)(Arguments...);

  static inline Function real = nullptr;
  static inline Function standIn = nullptr;  ///< Replaces the driver's; may call `real`.
  static inline CallCounts cost;

  static Result GLAD_API_PTR Run(Arguments... arguments) {
    CallCounts& counts = ThreadCalls();
    counts.calls += cost.calls;
    counts.errorChecks += cost.errorChecks;
    counts.objects += cost.objects;
    counts.syncs += cost.syncs;
    counts.barriers += cost.barriers;
    return (standIn != nullptr ? standIn : real)(arguments...);
  }

  /// The wrapper to call in place of the function; null stays null (the driver lacks the function), and what is wrapped
  /// already stays as it is.
  static Function Wrap(Function function, const CallCounts& itsCost) {
    if (function == nullptr || function == &Run) return function;
    real = function;
    cost = itsCost;
    return &Run;
  }
};

/// The same by name, for those who load functions; for names that the loader doesn't know, the function itself.
inline GLADapiproc CountedProc(const char* name, GLADapiproc function) {
#define QVG_MATCH(call)                                                                                          \
  if (std::strcmp(name, "gl" #call) == 0) {                                                                      \
    using Call = CountedCall<&glad_gl##call>;                                                                    \
    return reinterpret_cast<GLADapiproc>(Call::Wrap(reinterpret_cast<Call::Function>(function), CostOf(#call))); \
  }
  QVG_FOR_EACH_GL_CALL(QVG_MATCH)
#undef QVG_MATCH
  return function;
}

/// While it lives, the calls of a program that is linked with the loader are counted, for each thread separately. Only
/// one may exist at a time, and no other thread may issue GL calls while it begins or ends.
class CountedCalls {
 public:
  CountedCalls() : before_(ThreadCalls()) {
#define QVG_WRAP(call) glad_gl##call = CountedCall<&glad_gl##call>::Wrap(glad_gl##call, CostOf(#call));
    QVG_FOR_EACH_GL_CALL(QVG_WRAP)
#undef QVG_WRAP
  }
  ~CountedCalls() {
#define QVG_UNWRAP(call) \
  if (glad_gl##call != nullptr) glad_gl##call = CountedCall<&glad_gl##call>::real;
    QVG_FOR_EACH_GL_CALL(QVG_UNWRAP)
#undef QVG_UNWRAP
  }
  CountedCalls(const CountedCalls&) = delete;
  CountedCalls& operator=(const CountedCalls&) = delete;

  /// This thread's calls since the construction.
  CallCounts Counts() const { return ThreadCalls() - before_; }

 private:
  CallCounts before_;
};

}  // namespace qvg::test
