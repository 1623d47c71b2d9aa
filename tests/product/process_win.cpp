#include "process.h"

#include <windows.h>

// Libraries are notified, as at a return from main; std::_Exit would merely stop.
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
