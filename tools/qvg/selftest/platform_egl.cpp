#include <EGL/egl.h>
#include <EGL/eglext.h>
#include <dlfcn.h>
#include <qvGLRenderer/qvGLRenderer.h>
#include <sys/utsname.h>
#include <unistd.h>

#include <climits>
#include <cstdlib>
#include <fstream>

#include "selftest/platform.h"

namespace qvgtool::selftest {
namespace {

std::string Text(const char* text) { return text != nullptr ? text : ""; }

bool Contains(const std::string& list, const std::string& word) {
  return (" " + list + " ").find(" " + word + " ") != std::string::npos;
}

std::string DistributionName() {
  std::ifstream file("/etc/os-release");
  const std::string key = "PRETTY_NAME=\"";
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with(key)) return line.substr(key.size(), line.rfind('"') - key.size());
  }
  return "";
}

}  // namespace

std::string SystemName() {
  utsname names = {};
  uname(&names);
  const std::string distribution = DistributionName();
  return Text(names.sysname) + " " + names.release + " " + names.machine +
         (distribution.empty() ? "" : ", " + distribution);
}

std::string LibraryFile() {
  Dl_info info = {};
  if (dladdr(reinterpret_cast<void*>(&QVG_GetGLRendererInterface), &info) == 0) return "";
  char resolved[PATH_MAX];
  return Text(realpath(info.dli_fname, resolved) != nullptr ? resolved : info.dli_fname);
}

std::vector<std::string> DisplayChoices() { return {"x11", "device", "surfaceless"}; }

void SetEnvironment(const char* name, const char* value) { value != nullptr ? setenv(name, value, 1) : unsetenv(name); }

std::vector<std::string> Environment() {
  std::vector<std::string> variables;
  for (char** variable = environ; variable != nullptr && *variable != nullptr; ++variable) {
    variables.emplace_back(*variable);
  }
  return variables;
}

void* DriverFunction(const char* name) { return reinterpret_cast<void*>(eglGetProcAddress(name)); }

std::vector<std::pair<std::string, std::string>> PlatformTexts() {
  const EGLDisplay display = eglGetCurrentDisplay();
  std::vector<std::pair<std::string, std::string>> texts;
  if (display != EGL_NO_DISPLAY) {
    texts.emplace_back("EGL", Text(eglQueryString(display, EGL_VERSION)));
    texts.emplace_back("EGL vendor", Text(eglQueryString(display, EGL_VENDOR)));
    texts.emplace_back("EGL extensions", Text(eglQueryString(display, EGL_EXTENSIONS)));
  }
  texts.emplace_back("EGL client extensions", Text(eglQueryString(EGL_NO_DISPLAY, EGL_EXTENSIONS)));
  return texts;
}

std::vector<std::string> DeviceNames() {
  const auto queryDevices = reinterpret_cast<PFNEGLQUERYDEVICESEXTPROC>(eglGetProcAddress("eglQueryDevicesEXT"));
  const auto queryString =
      reinterpret_cast<PFNEGLQUERYDEVICESTRINGEXTPROC>(eglGetProcAddress("eglQueryDeviceStringEXT"));
  std::vector<std::string> names;
  EGLDeviceEXT devices[32] = {};
  EGLint count = 0;
  if (queryDevices == nullptr || queryString == nullptr || queryDevices(32, devices, &count) != EGL_TRUE) return names;
  for (int i = 0; i < count; ++i) {
    const std::string extensions = Text(queryString(devices[i], EGL_EXTENSIONS));
    std::string name;
    const auto add = [&](const char* extension, EGLint what) {
      if (!Contains(extensions, extension)) return;
      const std::string text = Text(queryString(devices[i], what));
      if (!text.empty()) name += (name.empty() ? "" : ", ") + text;
    };
    add("EGL_EXT_device_query_name", EGL_VENDOR);
    add("EGL_EXT_device_query_name", EGL_RENDERER_EXT);
    add("EGL_EXT_device_drm", EGL_DRM_DEVICE_FILE_EXT);
    add("EGL_EXT_device_drm_render_node", EGL_DRM_RENDER_NODE_FILE_EXT);
    if (Contains(extensions, "EGL_MESA_device_software"))
      name += (name.empty() ? "" : ", ") + Text("software renderer");
    names.push_back(name.empty() ? "a device without a name" : name);
  }
  return names;
}

}  // namespace qvgtool::selftest
