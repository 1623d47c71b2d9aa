#include "selftest/machine.h"

#include <fmt/format.h>
#include <glad/gl.h>
#include <qvGLRenderer/qvGLRenderer.h>

#include <algorithm>
#include <set>

#include "selftest/platform.h"

namespace qvgtool::selftest {
namespace {

// Names, or the beginnings of names, of variables.
constexpr const char* kVariables[] = {"DISPLAY",       "WAYLAND_DISPLAY", "XDG_SESSION_TYPE", "EGL_PLATFORM",
                                      "EGL_LOG_LEVEL", "GALLIUM_DRIVER",  "LD_LIBRARY_PATH",  "LD_PRELOAD",
                                      "DRI_PRIME",     "WINEPREFIX",      "VK_ICD_FILENAMES", "VK_DRIVER_FILES"};
constexpr const char* kPrefixes[] = {"QVG_", "__EGL_", "__GLX_", "__GL_", "LIBGL_", "MESA_", "GALLIUM_", "LP_"};

std::string GLText(GLenum name) {
  const auto* text = reinterpret_cast<const char*>(glGetString(name));
  return text != nullptr ? text : "";
}

std::string GLNumbers(GLenum name, int count) {
  GLint values[2] = {};
  glGetIntegerv(name, values);
  return count > 1 ? fmt::format("{} x {}", values[0], values[1]) : fmt::format("{}", values[0]);
}

bool IsLogged(const std::string& variable) {
  const std::string name = variable.substr(0, variable.find('='));
  const auto begins = [&](const char* prefix) { return name.starts_with(prefix); };
  return std::find(std::begin(kVariables), std::end(kVariables), name) != std::end(kVariables) ||
         std::any_of(std::begin(kPrefixes), std::end(kPrefixes), begins);
}

}  // namespace

Facts VersionFacts() {
  return {{"Tool", fmt::format("qvg {}", QVG_VERSION_STRING)},
          {"Library", LibraryFile()},
          {"Compiler", fmt::format("{}, C++ {}", __VERSION__, __cplusplus / 100 % 100)},
          {"System", SystemName()}};
}

Facts EnvironmentFacts() {
  Facts facts;
  for (const std::string& variable : Environment()) {
    if (!IsLogged(variable)) continue;
    const size_t sign = variable.find('=');
    facts.emplace_back(variable.substr(0, sign), variable.substr(sign + 1));
  }
  std::sort(facts.begin(), facts.end());
  return facts;
}

Facts PlatformFacts() {
  Facts facts = PlatformTexts();
  const std::vector<std::string> devices = DeviceNames();
  for (size_t i = 0; i < devices.size(); ++i) facts.emplace_back(fmt::format("device:{}", i), devices[i]);
  return facts;
}

bool LoadGL() {
  return gladLoadGL([](const char* name) { return reinterpret_cast<GLADapiproc>(DriverFunction(name)); }) != 0;
}

Facts DriverFacts() {
  return {{"Vendor", GLText(GL_VENDOR)},
          {"Renderer", GLText(GL_RENDERER)},
          {"Version", GLText(GL_VERSION)},
          {"GLSL", GLText(GL_SHADING_LANGUAGE_VERSION)}};
}

Facts LimitFacts() {
  constexpr struct {
    const char* name;
    GLenum limit;
    int values;
  } kLimits[] = {{"GL_MAX_TEXTURE_SIZE", GL_MAX_TEXTURE_SIZE, 1},
                 {"GL_MAX_RENDERBUFFER_SIZE", GL_MAX_RENDERBUFFER_SIZE, 1},
                 {"GL_MAX_VIEWPORT_DIMS", GL_MAX_VIEWPORT_DIMS, 2},
                 {"GL_MAX_TEXTURE_IMAGE_UNITS", GL_MAX_TEXTURE_IMAGE_UNITS, 1},
                 {"GL_MAX_DRAW_BUFFERS", GL_MAX_DRAW_BUFFERS, 1},
                 {"GL_MAX_COLOR_ATTACHMENTS", GL_MAX_COLOR_ATTACHMENTS, 1},
                 {"GL_MAX_VERTEX_ATTRIBS", GL_MAX_VERTEX_ATTRIBS, 1},
                 {"GL_MAX_FRAGMENT_UNIFORM_COMPONENTS", GL_MAX_FRAGMENT_UNIFORM_COMPONENTS, 1},
                 {"GL_MAX_SAMPLES", GL_MAX_SAMPLES, 1},
                 {"GL_CONTEXT_PROFILE_MASK", GL_CONTEXT_PROFILE_MASK, 1},
                 {"GL_CONTEXT_FLAGS", GL_CONTEXT_FLAGS, 1}};
  Facts facts;
  for (const auto& [name, limit, values] : kLimits) facts.emplace_back(name, GLNumbers(limit, values));
  while (glGetError() != GL_NO_ERROR) {
  }
  return facts;
}

std::vector<std::string> DriverExtensions() {
  GLint count = 0;
  glGetIntegerv(GL_NUM_EXTENSIONS, &count);
  std::vector<std::string> names;
  for (GLint i = 0; i < count; ++i) {
    const auto* name = reinterpret_cast<const char*>(glGetStringi(GL_EXTENSIONS, static_cast<GLuint>(i)));
    if (name != nullptr) names.emplace_back(name);
  }
  return names;
}

DisplayFacts FindDisplay(const std::vector<LogLine>& log) {
  // The lines are "<platform>: <display>: <why not>", and for the chosen one "<platform>: display: <display> ...".
  DisplayFacts facts;
  std::set<std::string> seen;
  for (const LogLine& line : log) {
    const size_t colon = line.message.find(": ");
    if (!seen.insert(line.message).second || colon == std::string::npos) continue;
    const std::string rest = line.message.substr(colon + 2), chosen = "display: ";
    if (line.level == LogLine::kError) {
      facts.errors.push_back(rest);
    } else if (!line.message.starts_with("glContext_")) {
      continue;
    } else if (rest.starts_with(chosen)) {
      facts.chosen = rest.substr(chosen.size());
    } else {
      facts.passedOver.push_back(rest);
    }
  }
  return facts;
}

}  // namespace qvgtool::selftest
