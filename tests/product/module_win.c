#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "module.h"

void* openModule(const char* path) {
  HMODULE module = LoadLibraryA(path);
  if (!module) fprintf(stderr, "LoadLibrary: error %lu\n", GetLastError());
  return module;
}

Function findFunction(void* module, const char* name) {
  FARPROC address = GetProcAddress(module, name);
  Function function = NULL;
  memcpy(&function, &address, sizeof function);
  return function;
}

void closeModule(void* module) { FreeLibrary(module); }

bool isLoaded(const char* path) { return GetModuleHandleA(path) != NULL; }
