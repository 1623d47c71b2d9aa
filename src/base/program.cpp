#include "base/program.h"

#include <cstring>
#include <glm/gtc/type_ptr.hpp>
#include <type_traits>
#include <vector>

#include "base/debugLabels.h"
#include "base/glError.h"
#include "base/shader.h"
#include "utils/format.h"
#include "utils/log.h"

namespace qvg {

namespace {

// A value that differs in its first component.
template <class Value>
Value Different(Value value) {
  if constexpr (std::is_arithmetic_v<Value>) {
    return value == 0 ? Value{1} : Value{0};
  } else {
    auto& first = *glm::value_ptr(value);
    first = Different(first);
    return value;
  }
}

void Send(GLint location, int value) { glUniform1i(location, value); }
void Send(GLint location, float value) { glUniform1f(location, value); }
void Send(GLint location, const glm::ivec2& value) { glUniform2iv(location, 1, glm::value_ptr(value)); }
void Send(GLint location, const glm::vec2& value) { glUniform2fv(location, 1, glm::value_ptr(value)); }
void Send(GLint location, const glm::vec3& value) { glUniform3fv(location, 1, glm::value_ptr(value)); }
void Send(GLint location, const glm::vec4& value) { glUniform4fv(location, 1, glm::value_ptr(value)); }
void Send(GLint location, const glm::mat3& value) { glUniformMatrix3fv(location, 1, GL_FALSE, glm::value_ptr(value)); }
void Send(GLint location, const glm::mat4& value) { glUniformMatrix4fv(location, 1, GL_FALSE, glm::value_ptr(value)); }

}  // namespace

Program::~Program() {
  if (id_ == 0) return;
  if (CurrentContext() != nullptr) glUseProgram(0);
  DeleteSharedObject({SharedObject::kProgram, id_});
}

bool Program::LoadFromContent(const std::string& vs, const std::string& fs, const std::string& gs) {
  if (id_ == 0) id_ = glCreateProgram();
  bool compiled = true;
  const std::pair<GLenum, const std::string&> stages[] = {
      {GL_VERTEX_SHADER, vs}, {GL_FRAGMENT_SHADER, fs}, {GL_GEOMETRY_SHADER, gs}};
  for (const auto& [type, source] : stages) {
    if (source.empty()) continue;
    Shader shader;
    compiled = shader.LoadFromContent(type, source) && compiled;
    glAttachShader(id_, shader.Id());
    // Marked for deletion: it goes with the program it is attached to.
    if (shader.Id() != 0) glDeleteShader(shader.Id());
  }
  glLinkProgram(id_);
  GLint status = 0;
  glGetProgramiv(id_, GL_LINK_STATUS, &status);
  if (status == 0) PrintProgramInfoLog();
  loaded_ = CheckGLError() && compiled && status != 0;
  return loaded_;
}

void Program::Adopt(GLuint id) {
  id_ = id;
  loaded_ = id != 0;
}

void Program::SetCacheName(const std::string& name) {
  cacheName_ = name;
  LabelObject(GL_PROGRAM, id_, "{}", name);
}

bool Program::PrintProgramInfoLog() {
  GLint length = 0;
  glGetProgramiv(id_, GL_INFO_LOG_LENGTH, &length);
  if (length > 0) {
    std::vector<GLchar> log(static_cast<size_t>(length) + 1, '\0');
    glGetProgramInfoLog(id_, length, nullptr, log.data());
    LogShort(kLogInfo, Format("link program err:{}", log.data()));
  }
  return CheckGLError();
}

bool Program::SetKind(const ProgramKind& kind) {
  if (kind_ == &kind) return true;
  uniforms_ = {};
  for (size_t i = 0; i < uniforms_.size() && kind.uniforms[i] != nullptr; ++i) {
    uniforms_[i].location = glGetUniformLocation(id_, kind.uniforms[i]);
  }
  for (size_t i = 0; i < samplers_.size(); ++i) {
    const char* const name = kind.samplers[i].name;
    samplers_[i] = {};
    if (name != nullptr) samplers_[i].location = glGetUniformLocation(id_, name);
  }
  // A location that could not be queried looks like that of a uniform that the program doesn't have.
  kind_ = CheckGLError() ? &kind : nullptr;
  return kind_ != nullptr;
}

void Program::_SendSamplers() {
  if (kind_ == nullptr) return;
  for (size_t i = 0; i < samplers_.size(); ++i) {
    if (samplers_[i].location >= 0) _Upload(samplers_[i], kind_->samplers[i].unit);
  }
}

bool Program::_Loaded(SourceLocation where) const {
  if (loaded_) return true;
  LogLocated(kLogError, "program not loaded", where);
  return false;
}

bool Program::Bind() {
  if (!_Loaded()) return false;
  glUseProgram(id_);
  const ContextId context = CurrentContextId();
  if (context != context_) {
    // Mesa hands uniforms to a context when one of them changes there, and doesn't notice a value that another context
    // has set: so everything is sent again, after a different value.
    moved_ = context_ != 0;
    context_ = context;
    ForgetValues();
  }
  _SendSamplers();
  return true;
}

void Program::ForgetValues() {
  for (Uniform& uniform : uniforms_) uniform.bytes = 0;
  for (Uniform& uniform : samplers_) uniform.bytes = 0;
}

bool Program::UnBind() {
  glUseProgram(0);
  return CheckGLError();
}

template <class Value>
void Program::_Upload(Uniform& uniform, const Value& value) {
  static_assert(sizeof(Value) <= sizeof uniform.value && std::is_trivially_copyable_v<Value>);
  if (uniform.location < 0) return;
  const bool known = uniform.bytes == sizeof(Value);
  // By their bytes, as they were sent. NOLINTNEXTLINE(bugprone-suspicious-memory-comparison)
  if (known && std::memcmp(uniform.value.data(), &value, sizeof(Value)) == 0) return;
  if (!known && moved_) Send(uniform.location, Different(value));
  Send(uniform.location, value);
  std::memcpy(uniform.value.data(), &value, sizeof(Value));
  uniform.bytes = sizeof(Value);
}

template void Program::_Upload(Uniform&, const int&);
template void Program::_Upload(Uniform&, const float&);
template void Program::_Upload(Uniform&, const glm::ivec2&);
template void Program::_Upload(Uniform&, const glm::vec2&);
template void Program::_Upload(Uniform&, const glm::vec3&);
template void Program::_Upload(Uniform&, const glm::vec4&);
template void Program::_Upload(Uniform&, const glm::mat3&);
template void Program::_Upload(Uniform&, const glm::mat4&);

int Program::GetUniformLocation(const std::string& name) {
  const auto known = locations_.find(name);
  if (known != locations_.end()) return known->second;
  const GLint location = glGetUniformLocation(id_, name.c_str());
  if (!CheckGLError()) return -1;
  locations_[name] = location;
  return location;
}

template <class Value>
bool Program::_Set(const std::string& name, const Value& value, SourceLocation where) {
  if (!_Loaded(where)) return false;
  // Always sent: the same uniform may have been set by its index.
  Uniform uniform;
  uniform.location = GetUniformLocation(name);
  _Upload(uniform, value);
  return CheckGLError(where);
}

template bool Program::_Set(const std::string&, const int&, SourceLocation);
template bool Program::_Set(const std::string&, const float&, SourceLocation);
template bool Program::_Set(const std::string&, const glm::vec2&, SourceLocation);
template bool Program::_Set(const std::string&, const glm::vec3&, SourceLocation);
template bool Program::_Set(const std::string&, const glm::vec4&, SourceLocation);
template bool Program::_Set(const std::string&, const glm::mat3&, SourceLocation);
template bool Program::_Set(const std::string&, const glm::mat4&, SourceLocation);

bool Program::SetUniformTexture(int unit, int texture, const std::string& name, unsigned int target) {
  if (!_Loaded()) return false;
  glActiveTexture(GL_TEXTURE0 + static_cast<GLenum>(unit));
  glBindTexture(target, static_cast<GLuint>(texture));
  SetUniform1i(name, unit);
  glActiveTexture(GL_TEXTURE0);
  return CheckGLError();
}

}  // namespace qvg
