// The process as the system sees it, and libraries that it loads by hand; one source for each platform.
#pragma once

/// Ends it without exit handlers, as the platform does that.
[[noreturn]] void EndQuickly();

struct Resources {
  long threads;
  long handles;  // file descriptors, or what the system has in their place
  long residentKiB;
};
Resources CountResources();

/// Null, with a line on standard error, when it can't be loaded.
void* OpenModule(const char* path);
using Function = void (*)();
Function FindFunction(void* module, const char* name);
void CloseModule(void* module);
bool IsLoaded(const char* path);
