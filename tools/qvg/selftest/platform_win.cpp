#include <windows.h>

#include <qvGLRenderer/qvGLRenderer.h>

#include <cstdlib>

#include "selftest/platform.h"

namespace qvgtool::selftest {

std::string SystemName() {
  // GetVersionEx would depend on the program's manifest.
  using GetVersion = LONG(WINAPI*)(OSVERSIONINFOW*);
  const HMODULE module = GetModuleHandleW(L"ntdll.dll");
  OSVERSIONINFOW version = {};
  version.dwOSVersionInfoSize = sizeof version;
  const auto get = reinterpret_cast<GetVersion>(reinterpret_cast<void*>(GetProcAddress(module, "RtlGetVersion")));
  if (get != nullptr) get(&version);
  return "Windows " + std::to_string(version.dwMajorVersion) + "." + std::to_string(version.dwMinorVersion) + "." +
         std::to_string(version.dwBuildNumber);
}

std::string LibraryFile() {
  HMODULE module = nullptr;
  char file[MAX_PATH] = "";
  GetModuleHandleExA(GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS | GET_MODULE_HANDLE_EX_FLAG_UNCHANGED_REFCOUNT,
                     reinterpret_cast<const char*>(&QVG_GetGLRendererInterface), &module);
  GetModuleFileNameA(module, file, MAX_PATH);
  return file;
}

std::vector<std::string> DisplayChoices() { return {"wgl"}; }

void SetEnvironment(const char* name, const char* value) { _putenv_s(name, value != nullptr ? value : ""); }

std::vector<std::string> Environment() {
  std::vector<std::string> variables;
  char* const block = GetEnvironmentStringsA();
  for (const char* variable = block; variable != nullptr && *variable != '\0';) {
    variables.emplace_back(variable);
    variable += variables.back().size() + 1;
  }
  if (block != nullptr) FreeEnvironmentStringsA(block);
  return variables;
}

void* DriverFunction(const char* name) {
  // WGL has the functions of newer versions, the system's library those of OpenGL 1.1.
  void* const function = reinterpret_cast<void*>(wglGetProcAddress(name));
  return function != nullptr ? function
                             : reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("opengl32.dll"), name));
}

std::vector<std::pair<std::string, std::string>> PlatformTexts() {
  using GetExtensions = const char*(WINAPI*)(HDC);
  const auto get = reinterpret_cast<GetExtensions>(DriverFunction("wglGetExtensionsStringARB"));
  const char* const text = get != nullptr ? get(wglGetCurrentDC()) : nullptr;
  return {{"WGL extensions", text != nullptr ? text : ""}};
}

std::vector<std::string> DeviceNames() { return {}; }

}  // namespace qvgtool::selftest
