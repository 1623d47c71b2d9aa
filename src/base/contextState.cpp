#include "base/contextState.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <optional>
#include <span>
#include <utility>
#include <vector>

#include "base/debugLabels.h"
#include "base/gl.h"
#include "base/glContextPlatform.h"
#include "base/gpuFence.h"
#include "base/programCache.h"
#include "base/quad.h"
#include "utils/neverDestroyed.h"

namespace qvg {

namespace {

struct ObjectName {
  ContextObject kind;
  uint32_t name;
};

/// Names that wait for a context to be current. Space is reserved from the start, since it grows where nothing may
/// throw.
template <class Item>
class WaitingList {
 public:
  explicit WaitingList(size_t room) { items_.reserve(room); }

  /// False when it is full, and there is no memory for more.
  bool Add(const Item& item) noexcept {
    try {
      items_.push_back(item);
    } catch (...) {
      return false;
    }
    return true;
  }
  /// Moves some of them to where they are handled without a lock; how many.
  size_t Take(std::span<Item> some) {
    const size_t count = std::min(some.size(), items_.size());
    std::copy(items_.end() - static_cast<ptrdiff_t>(count), items_.end(), some.begin());
    items_.resize(items_.size() - count);
    return count;
  }
  size_t Size() const { return items_.size(); }
  void Clear() { items_.clear(); }

 private:
  std::vector<Item> items_;
};

constexpr size_t kRoomOfContext = 256;
constexpr size_t kRoomOfAll = 1024;
constexpr size_t kSome = 32;

struct Entry {
  std::unique_ptr<ContextState> state;
  std::shared_ptr<const GpuFence> departure;
  WaitingList<ObjectName> waiting{kRoomOfContext};
  WaitingList<uint64_t> deadStorages{TargetCache::kCapacity};
  bool allStoragesDead = false;  // more than it can have kept something for
};

struct Registry {
  std::mutex mutex;
  std::map<const void*, Entry> contexts;
  std::optional<WaitingList<SharedObject>> waiting;  // as long as there are contexts
  std::atomic<bool> anyWaiting = false;
  ContextId lastId = 0;
  // Changes with the map, so that a thread can tell whether what it remembers is still valid.
  std::atomic<uint64_t> generation = 1;

  Entry* Find(ContextId id) {
    const auto found =
        std::find_if(contexts.begin(), contexts.end(), [id](const auto& item) { return item.second.state->id == id; });
    return found == contexts.end() ? nullptr : &found->second;
  }
};

// Empty after the last context, it owns no memory that unloading the library could lose.
Registry& Contexts() {
  static NeverDestroyed<Registry> registry;
  return registry.Get();
}

/// The last answer of CurrentContext on this thread.
struct Known {
  const void* native;
  uint64_t generation;
  ContextState* state;
};
constinit thread_local Known known = {nullptr, 0, nullptr};

void DeleteName(const ObjectName& object) {
  if (object.kind == ContextObject::kFrameBuffer) {
    glDeleteFramebuffers(1, &object.name);
  } else {
    glDeleteVertexArrays(1, &object.name);
  }
}

void DeleteName(const SharedObject& object) {
  switch (object.kind) {
    case SharedObject::kTexture:
      return glDeleteTextures(1, &object.name);
    case SharedObject::kBuffer:
      return glDeleteBuffers(1, &object.name);
    case SharedObject::kRenderBuffer:
      return glDeleteRenderbuffers(1, &object.name);
    case SharedObject::kProgram:
      return glDeleteProgram(object.name);
    case SharedObject::kSampler:
      return glDeleteSamplers(1, &object.name);
    case SharedObject::kSync:
      return glDeleteSync(static_cast<GLsync>(object.sync));
  }
}

}  // namespace

ContextState::ContextState(ContextId number) : id(number) {}

ContextState::~ContextState() {
  if (nearestSampler_ != 0) DeleteSharedObject({SharedObject::kSampler, nearestSampler_});
}

uint32_t ContextState::NearestSampler() {
  if (nearestSampler_ == 0) {
    glGenSamplers(1, &nearestSampler_);
    for (const GLenum filter : {GL_TEXTURE_MIN_FILTER, GL_TEXTURE_MAG_FILTER}) {
      glSamplerParameteri(nearestSampler_, filter, GL_NEAREST);
    }
    for (const GLenum wrap : {GL_TEXTURE_WRAP_S, GL_TEXTURE_WRAP_T, GL_TEXTURE_WRAP_R}) {
      glSamplerParameteri(nearestSampler_, wrap, GL_CLAMP_TO_EDGE);
    }
    LabelObject(GL_SAMPLER, nearestSampler_, "nearest texel");
  }
  return nearestSampler_;
}

void ContextState::Distrust() {
  targets.Clear();
  quad.reset();
  if (programs != nullptr) programs->ForgetValues();
  if (nearestSampler_ != 0) DeleteSharedObject({SharedObject::kSampler, nearestSampler_});
  nearestSampler_ = 0;
}

ContextState* CurrentContext() {
  const void* const native = CurrentNativeContext();
  if (native == nullptr) return nullptr;
  Registry& registry = Contexts();
  if (known.native == native && known.generation == registry.generation.load(std::memory_order_acquire)) {
    return known.state;
  }
  std::lock_guard lock(registry.mutex);
  const auto found = registry.contexts.find(native);
  known = {native, registry.generation.load(std::memory_order_relaxed),
           found == registry.contexts.end() ? nullptr : found->second.state.get()};
  return known.state;
}

ContextId CurrentContextId() {
  const ContextState* const current = CurrentContext();
  return current != nullptr ? current->id : 0;
}

ContextId ContextIdOf(const void* nativeContext) {
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  const auto found = registry.contexts.find(nativeContext);
  return found == registry.contexts.end() ? 0 : found->second.state->id;
}

void DeleteContextObject(ContextObject kind, uint32_t name, ContextId owner) noexcept {
  if (name == 0 || owner == 0) return;
  if (owner == CurrentContextId()) return DeleteName(ObjectName{kind, name});
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  if (Entry* const entry = registry.Find(owner); entry != nullptr && entry->waiting.Add({kind, name})) {
    entry->state->attention = true;
  }
}

void DeleteSharedObject(const SharedObject& object) noexcept {
  if (CurrentContext() != nullptr) return DeleteName(object);
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  if (registry.waiting.has_value() && registry.waiting->Add(object)) registry.anyWaiting = true;
}

void ForgetStorage(uint64_t storage) noexcept {
  ContextState* const current = CurrentContext();
  if (current != nullptr) current->targets.Forget(storage);
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  for (auto& [native, entry] : registry.contexts) {
    if (entry.state.get() == current || entry.state->targets.Empty()) continue;
    entry.allStoragesDead |= entry.deadStorages.Size() >= TargetCache::kCapacity;
    if (!entry.allStoragesDead) entry.deadStorages.Add(storage);
    entry.state->attention = true;
  }
}

void FlushContextObjects() noexcept {
  ContextState* const current = CurrentContext();
  if (current == nullptr) return;
  Registry& registry = Contexts();
  while (current->attention || registry.anyWaiting) {
    ObjectName names[kSome];
    uint64_t storages[kSome];
    SharedObject shared[kSome];
    size_t nameCount = 0;
    size_t storageCount = 0;
    size_t sharedCount = 0;
    bool allStorages = false;
    {
      std::lock_guard lock(registry.mutex);
      if (Entry* const entry = registry.Find(current->id); entry != nullptr) {
        nameCount = entry->waiting.Take(names);
        storageCount = entry->deadStorages.Take(storages);
        allStorages = std::exchange(entry->allStoragesDead, false);
        current->attention = entry->waiting.Size() > 0 || entry->deadStorages.Size() > 0;
      }
      if (registry.waiting.has_value()) sharedCount = registry.waiting->Take(shared);
      registry.anyWaiting = registry.waiting.has_value() && registry.waiting->Size() > 0;
    }
    for (size_t i = 0; i < nameCount; ++i) DeleteName(names[i]);
    for (size_t i = 0; i < storageCount; ++i) current->targets.Forget(storages[i]);
    if (allStorages) current->targets.Clear();
    for (size_t i = 0; i < sharedCount; ++i) DeleteName(shared[i]);
  }
}

void DepartContext() noexcept {
  ContextState* const current = CurrentContext();
  if (current == nullptr || !current->worked) return;
  if (current->programs != nullptr) current->programs->GiveBack();
  // An idle context that kept them would keep alive textures that were deleted elsewhere.
  current->targets.Clear();
  // The older fence, which was swapped for it, is destroyed after the lock is released: deleting it takes the lock.
  std::shared_ptr<const GpuFence> fence;
  try {
    fence = std::make_shared<const GpuFence>(GpuFence::Insert());
  } catch (...) {
    glFinish();  // needs no fence
  }
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  if (Entry* const entry = registry.Find(current->id); entry != nullptr) std::swap(entry->departure, fence);
  current->worked = false;
  ++current->departures;
}

bool WasLeft(ContextId id, uint64_t departures) {
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  const Entry* const entry = registry.Find(id);
  return entry == nullptr || entry->state->departures > departures;
}

std::optional<uint64_t> DeparturesCovering(ContextId id) {
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  const Entry* const entry = registry.Find(id);
  if (entry == nullptr) return std::nullopt;
  const ContextState& state = *entry->state;
  if (state.worked) return state.departures;
  return state.departures > 0 ? std::optional(state.departures - 1) : std::nullopt;
}

void WaitForDeparture(ContextId id) {
  std::shared_ptr<const GpuFence> fence;
  {
    Registry& registry = Contexts();
    std::lock_guard lock(registry.mutex);
    if (const Entry* const entry = registry.Find(id); entry != nullptr) fence = entry->departure;
  }
  if (fence != nullptr) fence->Wait();
}

void DropContextObjects() noexcept {
  ContextState* const current = CurrentContext();
  if (current == nullptr) return;
  FlushContextObjects();
  current->Distrust();
  // Whoever continues its work can't wait for a context that is gone.
  glFinish();
}

void RegisterContext(const void* nativeContext) {
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  if (!registry.waiting.has_value()) registry.waiting.emplace(kRoomOfAll);
  Entry entry;
  entry.state = std::make_unique<ContextState>(++registry.lastId);
  registry.contexts.insert_or_assign(nativeContext, std::move(entry));
  ++registry.generation;
}

void ForgetContext(const void* nativeContext) noexcept {
  Registry& registry = Contexts();
  decltype(registry
               .contexts)::node_type gone;  // ends outside the lock: what it owns is deleted or waits in the registry
  std::lock_guard lock(registry.mutex);
  const auto found = registry.contexts.find(nativeContext);
  if (found == registry.contexts.end()) return;
  gone = registry.contexts.extract(found);
  ++registry.generation;
  // The last one takes all shared objects with it.
  if (registry.contexts.empty()) registry.waiting.reset();
}

}  // namespace qvg
