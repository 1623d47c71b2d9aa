// A crash ends the program with a code of its own: without a debugger the system may report success.
#include <windows.h>

#include <cstdio>

namespace {

constexpr UINT kCrashExitCode = 3;

LONG WINAPI endOnCrash(EXCEPTION_POINTERS* exception) {
  std::fprintf(stderr, "crash: exception %08lx at %p\n", exception->ExceptionRecord->ExceptionCode,
               exception->ExceptionRecord->ExceptionAddress);
  std::fflush(nullptr);
  TerminateProcess(GetCurrentProcess(), kCrashExitCode);
  return EXCEPTION_EXECUTE_HANDLER;
}

const auto installed = SetUnhandledExceptionFilter(endOnCrash);

}  // namespace
