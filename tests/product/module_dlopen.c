#include <dlfcn.h>
#include <stdio.h>
#include <string.h>

#include "module.h"

void* openModule(const char* path) {
  void* module = dlopen(path, RTLD_NOW | RTLD_LOCAL);
  if (!module) fprintf(stderr, "%s\n", dlerror());
  return module;
}

Function findFunction(void* module, const char* name) {
  void* address = dlsym(module, name);
  Function function = NULL;
  memcpy(&function, &address, sizeof function);
  return function;
}

void closeModule(void* module) { dlclose(module); }

bool isLoaded(const char* path) {
  void* module = dlopen(path, RTLD_NOW | RTLD_NOLOAD);
  if (module) dlclose(module);
  return module != NULL;
}
