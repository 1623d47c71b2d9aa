#include "base/program.h"

#include <fmt/format.h>

#include <glm/gtc/type_ptr.hpp>
#include <type_traits>
#include <vector>

#include "base/glError.h"
#include "base/shader.h"
#include "utils/log.h"

namespace qvg {

namespace {

// The value with another first part.
template <class Value>
Value Different(Value value) {
  if constexpr (std::is_arithmetic_v<Value>) {
    return value == 0 ? Value{1} : Value{0};
  } else {
    float& first = *glm::value_ptr(value);
    first = Different(first);
    return value;
  }
}

}  // namespace

Program::~Program() {
  if (CurrentContextId() == 0) return;
  glUseProgram(0);
  CheckGLError();
  if (id_ != 0) glDeleteProgram(id_);
  id_ = 0;
}

bool Program::LoadFromContent(const std::string& vs, const std::string& fs, const std::string& gs) {
  if (id_ == 0) id_ = glCreateProgram();
  const std::pair<GLenum, const std::string&> stages[] = {
      {GL_VERTEX_SHADER, vs}, {GL_FRAGMENT_SHADER, fs}, {GL_GEOMETRY_SHADER, gs}};
  for (const auto& [type, source] : stages) {
    if (source.empty()) continue;
    Shader shader;
    shader.LoadFromContent(type, source);
    glAttachShader(id_, shader.Id());
    // Marked for deletion: it goes with the program it is attached to.
    if (shader.Id() != 0) glDeleteShader(shader.Id());
  }
  glLinkProgram(id_);
  GLint status = 0;
  glGetProgramiv(id_, GL_LINK_STATUS, &status);
  if (status == 0) PrintProgramInfoLog();
  if (!CheckGLError()) return false;
  loaded_ = true;
  return true;
}

bool Program::PrintProgramInfoLog() {
  GLint length = 0;
  glGetProgramiv(id_, GL_INFO_LOG_LENGTH, &length);
  if (length > 0) {
    std::vector<GLchar> log(static_cast<size_t>(length) + 1, '\0');
    glGetProgramInfoLog(id_, length, nullptr, log.data());
    LogShort(kLogInfo, fmt::format("link program err:{}", log.data()));
  }
  return CheckGLError();
}

bool Program::_Loaded(const std::source_location& where) const {
  if (loaded_) return true;
  LogLocated(kLogError, "program not loaded", where);
  return false;
}

bool Program::Bind() {
  if (!_Loaded(std::source_location::current())) return false;
  glUseProgram(id_);
  const ContextId context = CurrentContextId();
  moved_ = context != context_;
  context_ = context;
  return CheckGLError();
}

bool Program::UnBind() {
  glUseProgram(0);
  return CheckGLError();
}

int Program::GetUniformLocation(const std::string& name) {
  const auto known = locations_.find(name);
  if (known != locations_.end()) return known->second;
  const GLint location = glGetUniformLocation(id_, name.c_str());
  if (!CheckGLError()) return -1;
  locations_.emplace(name, location);
  return location;
}

template <class Value, class Upload>
bool Program::_Set(const std::string& name, const Value& value, Upload upload, const std::source_location& where) {
  if (!_Loaded(where)) return false;
  const GLint location = GetUniformLocation(name);
  if (location >= 0) {
    // Mesa brings uniforms to a context when one of them changes there, and takes a value that another context has set
    // for no change.
    if (moved_) upload(location, Different(value));
    upload(location, value);
  }
  return CheckGLError(where);
}

bool Program::SetUniform1i(const std::string& name, int value) {
  return _Set(
      name, value, [](GLint location, int v) { glUniform1i(location, v); }, std::source_location::current());
}

bool Program::SetUniform1f(const std::string& name, float value) {
  return _Set(
      name, value, [](GLint location, float v) { glUniform1f(location, v); }, std::source_location::current());
}

bool Program::SetUniform2f(const std::string& name, float x, float y) {
  const auto upload = [](GLint location, const glm::vec2& v) { glUniform2f(location, v.x, v.y); };
  return _Set(name, glm::vec2(x, y), upload, std::source_location::current());
}

bool Program::SetUniform3f(const std::string& name, float x, float y, float z) {
  const auto upload = [](GLint location, const glm::vec3& v) { glUniform3f(location, v.x, v.y, v.z); };
  return _Set(name, glm::vec3(x, y, z), upload, std::source_location::current());
}

bool Program::SetUniform4f(const std::string& name, float x, float y, float z, float w) {
  const auto upload = [](GLint location, const glm::vec4& v) { glUniform4f(location, v.x, v.y, v.z, v.w); };
  return _Set(name, glm::vec4(x, y, z, w), upload, std::source_location::current());
}

bool Program::SetUniformMatrix3f(const std::string& name, const glm::mat3& matrix, int count) {
  const auto upload = [&](GLint location, const glm::mat3& first) {
    glUniformMatrix3fv(location, &first == &matrix ? count : 1, GL_FALSE, glm::value_ptr(first));
  };
  return _Set(name, matrix, upload, std::source_location::current());
}

bool Program::SetUniformMatrix4f(const std::string& name, const glm::mat4& matrix, int count) {
  const auto upload = [&](GLint location, const glm::mat4& first) {
    glUniformMatrix4fv(location, &first == &matrix ? count : 1, GL_FALSE, glm::value_ptr(first));
  };
  return _Set(name, matrix, upload, std::source_location::current());
}

bool Program::SetUniformTexture(int unit, int texture, const std::string& name, unsigned int target) {
  if (!_Loaded(std::source_location::current())) return false;
  glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
  glBindTexture(target, static_cast<GLuint>(texture));
  SetUniform1i(name, unit);
  glActiveTexture(GL_TEXTURE0);
  return CheckGLError();
}

}  // namespace qvg
