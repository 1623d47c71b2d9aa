#include "base/program.h"

#include <fmt/format.h>

#include <glm/gtc/type_ptr.hpp>
#include <vector>

#include "base/contextObjects.h"
#include "base/glError.h"
#include "base/shader.h"
#include "utils/log.h"

namespace qvg {

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

template <class Upload>
bool Program::_Set(const std::string& name, Upload upload, const std::source_location& where) {
  if (!_Loaded(where)) return false;
  const GLint location = GetUniformLocation(name);
  if (location >= 0) upload(location);
  return CheckGLError(where);
}

bool Program::SetUniform1i(const std::string& name, int value) {
  return _Set(
      name, [&](GLint location) { glUniform1i(location, value); }, std::source_location::current());
}

bool Program::SetUniform1f(const std::string& name, float value) {
  return _Set(
      name, [&](GLint location) { glUniform1f(location, value); }, std::source_location::current());
}

bool Program::SetUniform2f(const std::string& name, float x, float y) {
  return _Set(
      name, [&](GLint location) { glUniform2f(location, x, y); }, std::source_location::current());
}

bool Program::SetUniform3f(const std::string& name, float x, float y, float z) {
  return _Set(
      name, [&](GLint location) { glUniform3f(location, x, y, z); }, std::source_location::current());
}

bool Program::SetUniform4f(const std::string& name, float x, float y, float z, float w) {
  return _Set(
      name, [&](GLint location) { glUniform4f(location, x, y, z, w); }, std::source_location::current());
}

bool Program::SetUniformMatrix3f(const std::string& name, const glm::mat3& matrix, int count) {
  return _Set(
      name, [&](GLint location) { glUniformMatrix3fv(location, count, GL_FALSE, glm::value_ptr(matrix)); },
      std::source_location::current());
}

bool Program::SetUniformMatrix4f(const std::string& name, const glm::mat4& matrix, int count) {
  return _Set(
      name, [&](GLint location) { glUniformMatrix4fv(location, count, GL_FALSE, glm::value_ptr(matrix)); },
      std::source_location::current());
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
