#include "faults.h"

#include <glad/gl.h>

#include <algorithm>
#include <atomic>
#include <cstring>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

#include "base/glContextPlatform.h"
#include "heap.h"
#include "support/glCalls.h"

namespace qvg::test {
namespace {

struct State {
  std::mutex mutex;
  std::atomic<bool> armed = false;
  std::atomic<int> suspended = 0;
  std::atomic<FaultSource> source = FaultSource::kDriver;
  FaultMode mode = FaultMode::kOne;
  int at = 0;
  int calls = 0;
  FaultReport report;
  Census living = {};
  bool contextsEnd = false;
  std::map<const void*, std::array<int, 2>> ofContext;  // frame buffers and vertex arrays, which are in no share group
};

bool IsOfContext(Kind kind) { return kind == kFrameBuffers || kind == kVertexArrays; }

State& Shared() {
  static State state;
  return state;
}

template <auto kPointer>
constexpr auto& real = CountedCall<kPointer>::real;

// A context's error flags, of those that are not the driver's own; a context is at work on one thread here.
enum ErrorFlag : unsigned { kOutOfMemory = 1, kInvalidOperation = 2 };
thread_local unsigned pendingErrors = 0;

bool Refuses(const char* call, unsigned error = kOutOfMemory) {
  if (!FailsNow(call)) return false;
  pendingErrors |= error;
  return true;
}

// ---- All entry points

template <auto kPointer>
struct FaultyCall;

template <class Result, class... Arguments, Result(GLAD_API_PTR** kPointer)(Arguments...)>
struct FaultyCall<kPointer> {
  static inline const char* name = nullptr;

  static Result GLAD_API_PTR Run(Arguments... arguments) {
    if (Refuses(name)) return Result();
    return real<kPointer>(arguments...);
  }
};

GLenum GLAD_API_PTR GetError() {
  if ((pendingErrors & kOutOfMemory) != 0) return pendingErrors &= ~kOutOfMemory, GL_OUT_OF_MEMORY;
  if ((pendingErrors & kInvalidOperation) != 0) return pendingErrors &= ~kInvalidOperation, GL_INVALID_OPERATION;
  return real<&glad_glGetError>();
}

// ---- Objects

template <auto kPointer, Kind kKind>
void GLAD_API_PTR Generate(GLsizei count, GLuint* names) {
  if (Refuses(FaultyCall<kPointer>::name)) return;
  real<kPointer>(count, names);
  CountLiving(kKind, static_cast<int>(std::count_if(names, names + count, [](GLuint name) { return name != 0; })));
}

template <auto kPointer, Kind kKind>
void GLAD_API_PTR Delete(GLsizei count, const GLuint* names) {
  Refuses(FaultyCall<kPointer>::name);
  real<kPointer>(count, names);
  CountLiving(kKind, -static_cast<int>(std::count_if(names, names + count, [](GLuint name) { return name != 0; })));
}

template <auto kPointer, Kind kKind, class Object, class... Arguments>
Object GLAD_API_PTR Create(Arguments... arguments) {
  if (Refuses(FaultyCall<kPointer>::name)) return {};
  const Object made = real<kPointer>(arguments...);
  CountLiving(kKind, made ? 1 : 0);
  return made;
}

template <auto kPointer, Kind kKind, class Object>
void GLAD_API_PTR DeleteOne(Object object) {
  Refuses(FaultyCall<kPointer>::name);
  real<kPointer>(object);
  CountLiving(kKind, object ? -1 : 0);
}

GLenum GLAD_API_PTR ClientWaitSync(GLsync sync, GLbitfield flags, GLuint64 timeout) {
  if (Refuses("glClientWaitSync")) return GL_WAIT_FAILED;
  return real<&glad_glClientWaitSync>(sync, flags, timeout);
}

// ---- What says itself that it failed

// Not made, the step leaves a stage whose status is false.
template <auto kPointer>
void GLAD_API_PTR MakeStage(GLuint name) {
  if (!FailsNow(FaultyCall<kPointer>::name)) real<kPointer>(name);
}

GLint GLAD_API_PTR GetUniformLocation(GLuint program, const GLchar* name) {
  return Refuses("glGetUniformLocation") ? -1 : real<&glad_glGetUniformLocation>(program, name);
}

GLenum GLAD_API_PTR CheckFramebufferStatus(GLenum target) {
  return FailsNow("glCheckFramebufferStatus") ? GL_FRAMEBUFFER_UNSUPPORTED
                                              : real<&glad_glCheckFramebufferStatus>(target);
}

// ---- Mapped memory: a block of the test's own, guarded on both sides, in the place of the driver's

constexpr size_t kGuard = 64;  // also the alignment that GL promises
constexpr uint8_t kGuardByte = 0xd7;

struct alignas(kGuard) Line {
  uint8_t bytes[kGuard];
};

struct Shadow {
  std::vector<Line> lines;
  uint8_t* driver = nullptr;
  size_t size = 0;
  GLbitfield access = 0;

  uint8_t* Begin() { return lines[1].bytes; }
  uint8_t* End() { return lines.back().bytes + kGuard; }
};

std::mutex shadowsMutex;
std::map<GLuint, Shadow> shadows;
std::string mappingFaults;

GLuint BufferAt(GLenum target) {
  GLint name = 0;
  real<&glad_glGetIntegerv>(target == GL_PIXEL_PACK_BUFFER     ? GL_PIXEL_PACK_BUFFER_BINDING
                            : target == GL_PIXEL_UNPACK_BUFFER ? GL_PIXEL_UNPACK_BUFFER_BINDING
                                                               : GL_ARRAY_BUFFER_BINDING,
                            &name);
  return static_cast<GLuint>(name);
}

void* GLAD_API_PTR MapBufferRange(GLenum target, GLintptr offset, GLsizeiptr length, GLbitfield access) {
  if (Refuses("glMapBufferRange")) return nullptr;
  const HeapOwner test(HeapOwner::kTest);
  void* const driver = real<&glad_glMapBufferRange>(target, offset, length, access);
  if (driver == nullptr) return nullptr;
  Shadow shadow;
  shadow.driver = static_cast<uint8_t*>(driver);
  shadow.size = static_cast<size_t>(length);
  shadow.access = access;
  shadow.lines.resize((shadow.size + kGuard - 1) / kGuard + 2);
  std::fill(shadow.lines[0].bytes, shadow.End(), kGuardByte);
  if ((access & GL_MAP_READ_BIT) != 0) std::memcpy(shadow.Begin(), driver, shadow.size);
  CountLiving(kMappings, 1);
  std::lock_guard lock(shadowsMutex);
  Shadow& kept = shadows[BufferAt(target)] = std::move(shadow);
  return kept.Begin();
}

// Ends the shadow of a buffer, if it has one.
void EndShadow(GLuint buffer, bool writeBack) {
  std::lock_guard lock(shadowsMutex);
  const auto found = shadows.find(buffer);
  if (found == shadows.end()) return;
  Shadow& shadow = found->second;
  const auto intact = [](const uint8_t* from, const uint8_t* to) {
    return std::all_of(from, to, [](uint8_t byte) { return byte == kGuardByte; });
  };
  if (!intact(shadow.lines[0].bytes, shadow.Begin())) mappingFaults += "bytes before mapped memory were written; ";
  if (!intact(shadow.Begin() + shadow.size, shadow.End())) mappingFaults += "bytes behind mapped memory were written; ";
  if (writeBack && (shadow.access & GL_MAP_WRITE_BIT) != 0) std::memcpy(shadow.driver, shadow.Begin(), shadow.size);
  shadows.erase(found);
  CountLiving(kMappings, -1);
}

GLboolean GLAD_API_PTR UnmapBuffer(GLenum target) {
  if (Refuses("glUnmapBuffer", kInvalidOperation)) return GL_FALSE;
  EndShadow(BufferAt(target), true);
  return real<&glad_glUnmapBuffer>(target);
}

void GLAD_API_PTR DeleteBuffers(GLsizei count, const GLuint* names) {
  // Deleting unmaps.
  for (GLsizei i = 0; i < count; ++i) EndShadow(names[i], false);
  Delete<&glad_glDeleteBuffers, kBuffers>(count, names);
}

void GLAD_API_PTR BufferData(GLenum target, GLsizeiptr size, const void* data, GLenum usage) {
  if (Refuses("glBufferData")) return;
  const HeapOwner test(HeapOwner::kTest);
  const std::vector<uint8_t> fresh(data == nullptr ? static_cast<size_t>(size) : 0, kFresh);
  real<&glad_glBufferData>(target, size, data == nullptr ? fresh.data() : data, usage);
}

template <auto kPointer, class Function>
void StandIn(Function* function) {
  CountedCall<kPointer>::standIn = function;
}

void SetStandIns() {
#define QVG_STAND_IN(call)                        \
  FaultyCall<& glad_gl##call>::name = "gl" #call; \
  StandIn<&glad_gl##call>(&FaultyCall<&glad_gl##call>::Run);
  QVG_FOR_EACH_GL_CALL(QVG_STAND_IN)
#undef QVG_STAND_IN
#define QVG_OBJECTS(names, kind)                                    \
  StandIn<&glad_glGen##names>(&Generate<&glad_glGen##names, kind>); \
  StandIn<&glad_glDelete##names>(&Delete<&glad_glDelete##names, kind>);
  QVG_OBJECTS(Textures, kTextures)
  QVG_OBJECTS(Buffers, kBuffers)
  QVG_OBJECTS(Renderbuffers, kRenderBuffers)
  QVG_OBJECTS(Framebuffers, kFrameBuffers)
  QVG_OBJECTS(VertexArrays, kVertexArrays)
  QVG_OBJECTS(Samplers, kSamplers)
#undef QVG_OBJECTS
  StandIn<&glad_glDeleteBuffers>(&DeleteBuffers);
  StandIn<&glad_glCreateProgram>(&Create<&glad_glCreateProgram, kPrograms, GLuint>);
  StandIn<&glad_glCreateShader>(&Create<&glad_glCreateShader, kShaders, GLuint, GLenum>);
  StandIn<&glad_glFenceSync>(&Create<&glad_glFenceSync, kSyncs, GLsync, GLenum, GLbitfield>);
  StandIn<&glad_glDeleteProgram>(&DeleteOne<&glad_glDeleteProgram, kPrograms, GLuint>);
  StandIn<&glad_glDeleteShader>(&DeleteOne<&glad_glDeleteShader, kShaders, GLuint>);
  StandIn<&glad_glDeleteSync>(&DeleteOne<&glad_glDeleteSync, kSyncs, GLsync>);
  StandIn<&glad_glClientWaitSync>(&ClientWaitSync);
  StandIn<&glad_glCompileShader>(&MakeStage<&glad_glCompileShader>);
  StandIn<&glad_glLinkProgram>(&MakeStage<&glad_glLinkProgram>);
  StandIn<&glad_glGetUniformLocation>(&GetUniformLocation);
  StandIn<&glad_glCheckFramebufferStatus>(&CheckFramebufferStatus);
  StandIn<&glad_glMapBufferRange>(&MapBufferRange);
  StandIn<&glad_glUnmapBuffer>(&UnmapBuffer);
  StandIn<&glad_glBufferData>(&BufferData);
  StandIn<&glad_glGetError>(&GetError);
}

[[maybe_unused]] const bool standInsAreSet = [] {
  SetStandIns();
  return true;
}();

// Only where the platform's part tells of contexts.
bool IsKnown(int kind) { return Shared().contextsEnd || !IsOfContext(static_cast<Kind>(kind)); }

constexpr const char* kKindNames[kKinds] = {"textures",      "buffers",  "render buffers", "frame buffers",
                                            "vertex arrays", "samplers", "programs",       "shaders",
                                            "syncs",         "mappings", "contexts",       "surfaces"};

}  // namespace

void ArmFault(FaultSource source, int at, FaultMode mode) {
  State& state = Shared();
  std::lock_guard lock(state.mutex);
  state.armed = true;
  state.source = source;
  state.mode = mode;
  state.at = at;
  state.calls = 0;
  state.report = {};
}

FaultReport Faults() {
  State& state = Shared();
  std::lock_guard lock(state.mutex);
  return state.report;
}

FaultReport DisarmFault() {
  State& state = Shared();
  std::lock_guard lock(state.mutex);
  state.armed = false;
  return state.report;
}

bool FailsNow(const char* call) {
  State& state = Shared();
  std::lock_guard lock(state.mutex);
  const FaultSource source = call == kAllocation ? FaultSource::kHeap : FaultSource::kDriver;
  if (!state.armed || state.suspended > 0 || state.source != source) return false;
  ++state.calls;
  const bool fails = state.mode == FaultMode::kOne ? state.calls == state.at : state.calls >= state.at;
  if (fails && ++state.report.failed == 1) state.report.firstCall = call;
  if (fails && std::strncmp(call, "gl", 2) != 0) state.report.platformFailed = true;
  return fails;
}

bool AllocationsMayFail() {
  const State& state = Shared();
  return state.armed && state.suspended == 0 && state.source == FaultSource::kHeap;
}

WithoutFaults::WithoutFaults() { ++Shared().suspended; }
WithoutFaults::~WithoutFaults() { --Shared().suspended; }

Census Living() {
  std::lock_guard lock(Shared().mutex);
  return Shared().living;
}

void CountLiving(Kind kind, int change) {
  const HeapOwner test(HeapOwner::kTest);
  std::lock_guard lock(Shared().mutex);
  Shared().living[kind] += change;
  if (IsOfContext(kind)) Shared().ofContext[CurrentNativeContext()][kind - kFrameBuffers] += change;
}

void CountContextEnd(const void* context) {
  std::lock_guard lock(Shared().mutex);
  Shared().contextsEnd = true;
  const auto found = Shared().ofContext.find(context);
  if (found == Shared().ofContext.end()) return;
  for (const Kind kind : {kFrameBuffers, kVertexArrays}) Shared().living[kind] -= found->second[kind - kFrameBuffers];
  Shared().ofContext.erase(found);
}

std::string Difference(const Census& before, const Census& now) {
  std::string text;
  for (int kind = 0; kind < kKinds; ++kind) {
    if (IsKnown(kind) && now[kind] != before[kind])
      text += std::to_string(now[kind] - before[kind]) + ' ' + kKindNames[kind] + ", ";
  }
  return text;
}

void WatchGL() {
#define QVG_WRAP(call) glad_gl##call = CountedCall<&glad_gl##call>::Wrap(glad_gl##call, CostOf(#call));
  QVG_FOR_EACH_GL_CALL(QVG_WRAP)
#undef QVG_WRAP
}

std::span<const uint8_t> MappedBlock(const void* address) {
  std::lock_guard lock(shadowsMutex);
  for (auto& [buffer, shadow] : shadows) {
    if (shadow.Begin() == address) return {shadow.Begin(), shadow.size};
  }
  return {};
}

std::string TakeMappingFaults() {
  std::lock_guard lock(shadowsMutex);
  return std::exchange(mappingFaults, "");
}

}  // namespace qvg::test
