#include "process.h"

#include <windows.h>

#include <psapi.h>
#include <tlhelp32.h>

// Libraries are told of it, as they are at a return from main; a mere stop is what std::_Exit gives.
void EndQuickly() { ExitProcess(0); }

Resources CountResources() {
  long threads = 0;
  THREADENTRY32 thread = {};
  thread.dwSize = sizeof thread;
  const HANDLE all = CreateToolhelp32Snapshot(TH32CS_SNAPTHREAD, 0);
  for (BOOL more = Thread32First(all, &thread); more != FALSE; more = Thread32Next(all, &thread)) {
    threads += thread.th32OwnerProcessID == GetCurrentProcessId();
  }
  CloseHandle(all);
  DWORD handles = 0;
  GetProcessHandleCount(GetCurrentProcess(), &handles);
  PROCESS_MEMORY_COUNTERS memory = {};
  K32GetProcessMemoryInfo(GetCurrentProcess(), &memory, sizeof memory);
  return {threads, static_cast<long>(handles), static_cast<long>(memory.WorkingSetSize / 1024)};
}

void* OpenModule(const char* path) { return LoadLibraryA(path); }
void (*FindFunction(void* module, const char* name))() {
  return reinterpret_cast<void (*)()>(reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(module), name)));
}
void CloseModule(void* module) { FreeLibrary(static_cast<HMODULE>(module)); }
bool IsLoaded(const char* path) { return GetModuleHandleA(path) != nullptr; }
