#pragma once

#include <glm/glm.hpp>
#include <source_location>
#include <string>
#include <unordered_map>

#include "base/contextObjects.h"
#include "base/gl.h"
#include "base/gpuFence.h"

namespace qvg {

/// A linked GL program with a cache of its uniforms' locations. Setters act on the bound program: bind it first. A
/// uniform that the program does not have is skipped silently. Owns its GL name.
class Program {
 public:
  Program() = default;
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Compiles and links; an empty source skips its stage. True unless a GL error is pending: a program that does not
  /// compile or link is in the log and counts as loaded.
  bool LoadFromContent(const std::string& vs, const std::string& fs, const std::string& gs);
  bool PrintProgramInfoLog();
  bool Bind();
  bool UnBind();

  /// -1 when the program has no such uniform.
  int GetUniformLocation(const std::string& name);

  bool SetUniform1i(const std::string& name, int value);
  bool SetUniform1f(const std::string& name, float value);
  bool SetUniform2f(const std::string& name, float x, float y);
  bool SetUniform2f(const std::string& name, const glm::vec2& value) { return SetUniform2f(name, value.x, value.y); }
  bool SetUniform3f(const std::string& name, float x, float y, float z);
  bool SetUniform3f(const std::string& name, const glm::vec3& value) {
    return SetUniform3f(name, value.x, value.y, value.z);
  }
  bool SetUniform4f(const std::string& name, float x, float y, float z, float w);
  bool SetUniform4f(const std::string& name, const glm::vec4& value) {
    return SetUniform4f(name, value.x, value.y, value.z, value.w);
  }
  bool SetUniformMatrix3f(const std::string& name, const glm::mat3& matrix, int count);
  bool SetUniformMatrix4f(const std::string& name, const glm::mat4& matrix, int count);
  /// Binds a texture to a unit and the sampler to the unit; unit 0 is active afterwards.
  bool SetUniformTexture(int unit, int texture, const std::string& name, unsigned int target);

  /// Behind the last use, for a taker on another context: uniforms are state of the program.
  GpuFence fence;

  const std::string& CacheName() const { return cacheName_; }
  void SetCacheName(const std::string& name) { cacheName_ = name; }

 private:
  template <class Value, class Upload>
  bool _Set(const std::string& name, const Value& value, Upload upload, const std::source_location& where);
  bool _Loaded(const std::source_location& where) const;

  GLuint id_ = 0;
  bool loaded_ = false;
  ContextId context_ = 0;  // where it was bound last
  bool moved_ = false;     // there for the first time since it was bound elsewhere
  std::unordered_map<std::string, GLint> locations_;
  std::string cacheName_;
};

}  // namespace qvg
