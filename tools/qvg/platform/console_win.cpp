#include <windows.h>

#include <shellapi.h>

#include <cstdlib>

#include "platform/console.h"

namespace qvgtool {
namespace {

// The console belongs to the user and outlives the program.
UINT codePageBefore = 0;

void GiveConsoleBack() { SetConsoleOutputCP(codePageBefore); }

}  // namespace

std::vector<std::string> Arguments(int argc, char** argv) {
  int count = 0;
  LPWSTR* const words = CommandLineToArgvW(GetCommandLineW(), &count);
  if (!words) return {argv, argv + argc};
  std::vector<std::string> arguments;
  for (int i = 0; i < count; ++i) {
    const int size = WideCharToMultiByte(CP_UTF8, 0, words[i], -1, nullptr, 0, nullptr, nullptr);
    std::string& argument = arguments.emplace_back(static_cast<size_t>(size > 0 ? size : 1), '\0');
    WideCharToMultiByte(CP_UTF8, 0, words[i], -1, argument.data(), size, nullptr, nullptr);
    argument.pop_back();
  }
  LocalFree(words);
  return arguments;
}

void PrepareConsole() {
  codePageBefore = GetConsoleOutputCP();
  if (codePageBefore != 0 && SetConsoleOutputCP(CP_UTF8)) std::atexit(GiveConsoleBack);
  const HANDLE errors = GetStdHandle(STD_ERROR_HANDLE);
  DWORD mode = 0;
  if (GetConsoleMode(errors, &mode)) SetConsoleMode(errors, mode | ENABLE_VIRTUAL_TERMINAL_PROCESSING);
}

void ForgetVariable(const char* name) { _putenv((std::string(name) + "=").c_str()); }

}  // namespace qvgtool
