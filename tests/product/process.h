// The process as the system sees it, and libraries that it loads by hand; one source for each platform.
#pragma once

/// Ends it without exit handlers, as the platform does that.
[[noreturn]] void EndQuickly();

/// Threads and file descriptors, or the handles that the system has in their place.
long CountResources();

/// Null when it can't be loaded.
void* OpenModule(const char* path);
void (*FindFunction(void* module, const char* name))();
template <class Signature>
Signature* Find(void* module, const char* name) {
  return reinterpret_cast<Signature*>(FindFunction(module, name));
}
void CloseModule(void* module);
bool IsLoaded(const char* path);
