#include "glNames.h"

#include <glad/gl.h>

#include <atomic>
#include <cstring>
#include <type_traits>

#include "driver/eglHooks.h"

namespace qvg::test {
namespace {

std::array<std::atomic<int>, kSync + 1> living;

/// Counts the objects that a call makes or deletes; kPointer, the loader's variable for it, tells which call.
template <auto kPointer, NameKind kKind, int kSign>
struct Counted;

template <class Result, class... Arguments, Result(GLAD_API_PTR** kPointer)(Arguments...), NameKind kKind, int kSign>
struct Counted<kPointer, kKind, kSign> {
  static inline Result(GLAD_API_PTR* real)(Arguments...) = nullptr;

  static int Number(GLsizei count, const GLuint* names) {
    int number = 0;
    for (GLsizei i = 0; i < count; ++i) number += names[i] != 0 ? 1 : 0;
    return number;
  }
  static int Number(GLuint name) { return name != 0 ? 1 : 0; }
  static int Number(GLsync sync) { return sync != nullptr ? 1 : 0; }

  static Result GLAD_API_PTR Run(Arguments... arguments) {
    if constexpr (kSign < 0) {
      living[kKind] -= Number(arguments...);
      real(arguments...);
    } else if constexpr (std::is_void_v<Result>) {
      real(arguments...);
      living[kKind] += Number(arguments...);
    } else {
      const Result made = real(arguments...);
      living[kKind] += Number(made);
      return made;
    }
  }

  static void* Wrap(void* function) {
    real = reinterpret_cast<decltype(real)>(function);
    return reinterpret_cast<void*>(&Run);
  }
};

constexpr struct {
  const char* name;
  void* (*wrap)(void* function);
} kCalls[] = {
    {"glGenTextures", &Counted<&glad_glGenTextures, kTexture, 1>::Wrap},
    {"glDeleteTextures", &Counted<&glad_glDeleteTextures, kTexture, -1>::Wrap},
    {"glGenBuffers", &Counted<&glad_glGenBuffers, kBuffer, 1>::Wrap},
    {"glDeleteBuffers", &Counted<&glad_glDeleteBuffers, kBuffer, -1>::Wrap},
    {"glGenRenderbuffers", &Counted<&glad_glGenRenderbuffers, kRenderBuffer, 1>::Wrap},
    {"glDeleteRenderbuffers", &Counted<&glad_glDeleteRenderbuffers, kRenderBuffer, -1>::Wrap},
    {"glGenFramebuffers", &Counted<&glad_glGenFramebuffers, kFrameBuffer, 1>::Wrap},
    {"glDeleteFramebuffers", &Counted<&glad_glDeleteFramebuffers, kFrameBuffer, -1>::Wrap},
    {"glGenVertexArrays", &Counted<&glad_glGenVertexArrays, kVertexArray, 1>::Wrap},
    {"glDeleteVertexArrays", &Counted<&glad_glDeleteVertexArrays, kVertexArray, -1>::Wrap},
    {"glGenSamplers", &Counted<&glad_glGenSamplers, kSampler, 1>::Wrap},
    {"glDeleteSamplers", &Counted<&glad_glDeleteSamplers, kSampler, -1>::Wrap},
    {"glCreateProgram", &Counted<&glad_glCreateProgram, kProgram, 1>::Wrap},
    {"glDeleteProgram", &Counted<&glad_glDeleteProgram, kProgram, -1>::Wrap},
    {"glCreateShader", &Counted<&glad_glCreateShader, kShader, 1>::Wrap},
    {"glDeleteShader", &Counted<&glad_glDeleteShader, kShader, -1>::Wrap},
    {"glFenceSync", &Counted<&glad_glFenceSync, kSync, 1>::Wrap},
    {"glDeleteSync", &Counted<&glad_glDeleteSync, kSync, -1>::Wrap},
};

void* WithCount(const char* name, void* function) {
  for (const auto& call : kCalls) {
    if (function != nullptr && std::strcmp(name, call.name) == 0) return call.wrap(function);
  }
  return function;
}

}  // namespace

void CountNames() { Hooks().entryPoint = &WithCount; }

NameBalance LivingNames() {
  NameBalance balance;
  for (size_t i = 0; i < balance.size(); ++i) balance[i] = living[i];
  return balance;
}

}  // namespace qvg::test
