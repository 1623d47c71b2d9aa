// The process's end and its resources, and libraries that it loads by hand; one source for each platform.
#pragma once

/// Ends the process without exit handlers, in the platform's way.
[[noreturn]] void EndQuickly();

/// Threads and file descriptors, or the system's equivalent handles.
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
