#include "base/contextObjects.h"

#include <algorithm>
#include <map>
#include <mutex>
#include <new>
#include <vector>

#include "base/gl.h"
#include "base/glContextPlatform.h"

namespace qvg {

namespace {

struct ObjectName {
  ContextObject kind;
  uint32_t name;
};

struct Entry {
  ContextId id = 0;
  bool registered = false;  // false: a host's own, whose end nobody reports
  std::vector<ObjectName> waiting;
};

struct Registry {
  std::mutex mutex;
  std::map<const void*, Entry> contexts;
  ContextId lastId = 0;
  size_t registered = 0;

  // The entry of a native context; one that was never registered is a host's own and gets its id here.
  Entry& Find(const void* nativeContext) {
    Entry& entry = contexts[nativeContext];
    if (entry.id == 0) entry.id = ++lastId;
    return entry;
  }
};

// Never destroyed: objects may still be deleted while the process exits. Empty after the last context, it owns no
// memory that unloading the library could lose.
Registry& Contexts() {
  alignas(Registry) static unsigned char storage[sizeof(Registry)];
  static Registry* const registry = new (storage) Registry();
  return *registry;
}

void DeleteNames(const std::vector<ObjectName>& names) {
  for (const ObjectName& object : names) {
    if (object.kind == ContextObject::kFrameBuffer) {
      glDeleteFramebuffers(1, &object.name);
    } else {
      glDeleteVertexArrays(1, &object.name);
    }
  }
}

}  // namespace

ContextId CurrentContextId() {
  const void* const native = CurrentNativeContext();
  if (native == nullptr) return 0;
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  return registry.Find(native).id;
}

void DeleteContextObject(ContextObject kind, uint32_t name, ContextId owner) {
  if (name == 0 || owner == 0) return;
  const void* const current = CurrentNativeContext();
  {
    Registry& registry = Contexts();
    std::lock_guard lock(registry.mutex);
    const auto found = std::find_if(registry.contexts.begin(), registry.contexts.end(),
                                    [owner](const auto& item) { return item.second.id == owner; });
    if (found == registry.contexts.end()) return;
    if (found->first != current) {
      found->second.waiting.push_back({kind, name});
      return;
    }
  }
  DeleteNames({{kind, name}});
}

void FlushContextObjects() {
  const void* const native = CurrentNativeContext();
  if (native == nullptr) return;
  std::vector<ObjectName> names;
  {
    Registry& registry = Contexts();
    std::lock_guard lock(registry.mutex);
    const auto found = registry.contexts.find(native);
    if (found == registry.contexts.end()) return;
    names.swap(found->second.waiting);
  }
  DeleteNames(names);
}

void RegisterContext(const void* nativeContext) {
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  // A fresh entry: a context of the host that is gone by now may have had the same handle.
  Entry& entry = registry.contexts[nativeContext];
  if (!entry.registered) ++registry.registered;
  entry = Entry{++registry.lastId, true, {}};
}

void ForgetContext(const void* nativeContext) {
  Registry& registry = Contexts();
  std::lock_guard lock(registry.mutex);
  const auto found = registry.contexts.find(nativeContext);
  if (found == registry.contexts.end() || !found->second.registered) return;
  registry.contexts.erase(found);
  if (--registry.registered == 0) registry.contexts.clear();
}

}  // namespace qvg
