#include "base/shader.h"

#include <vector>

#include "base/glError.h"
#include "utils/format.h"
#include "utils/log.h"

namespace qvg {

bool Shader::LoadFromContent(unsigned int type, const std::string& content) {
  type_ = type;
  content_ = content;
  id_ = glCreateShader(type);
  if (id_ == 0) {
    LogLocated(kLogError, Format("create shader err,type={},shader content={} ", type, content));
    return false;
  }
  const GLchar* text = content.c_str();
  const auto length = static_cast<GLint>(content.size());
  glShaderSource(id_, 1, &text, &length);
  glCompileShader(id_);
  GLint status = 0;
  glGetShaderiv(id_, GL_COMPILE_STATUS, &status);
  if (status == 0) PrintShaderInfoLog();
  return CheckGLError();
}

bool Shader::PrintShaderInfoLog() {
  GLint length = 0;
  glGetShaderiv(id_, GL_INFO_LOG_LENGTH, &length);
  if (length > 0) {
    std::vector<GLchar> log(static_cast<size_t>(length) + 1, '\0');
    glGetShaderInfoLog(id_, length, nullptr, log.data());
    LogLocated(kLogError, Format("compile shader [{}] failed, err={}", content_, log.data()));
  }
  return CheckGLError();
}

}  // namespace qvg
