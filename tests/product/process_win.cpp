#include "process.h"

#include <windows.h>

// Libraries are told of it, as they are at a return from main; a mere stop is what std::_Exit gives.
void EndQuickly() { ExitProcess(0); }

long CountResources() {
  DWORD handles = 0;
  GetProcessHandleCount(GetCurrentProcess(), &handles);
  return static_cast<long>(handles);
}

void* OpenModule(const char* path) { return LoadLibraryA(path); }
void (*FindFunction(void* module, const char* name))() {
  return reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name)));
}
void CloseModule(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }
bool IsLoaded(const char* path) { return GetModuleHandleA(path) != nullptr; }
