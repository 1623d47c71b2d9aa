#pragma once

#include <array>
#include <cstddef>
#include <glm/glm.hpp>
#include <string>
#include <unordered_map>

#include "base/gl.h"
#include "base/handOver.h"
#include "base/programKind.h"
#include "utils/sourceLocation.h"

namespace qvg {

/// A linked GL program. It remembers the values of its uniforms and sends only what changes. Setters act on the bound
/// program: bind it first. A uniform that the program does not have is skipped silently. Owns its GL name.
class Program {
 public:
  Program() = default;
  ~Program();
  Program(const Program&) = delete;
  Program& operator=(const Program&) = delete;

  /// Compiles and links; an empty source skips its stage. False, which is logged, when the program can't be used.
  bool LoadFromContent(const std::string& vs, const std::string& fs, const std::string& gs);
  /// Takes over a GL program that was linked elsewhere.
  void Adopt(GLuint id);
  bool PrintProgramInfoLog();
  /// Looks up the uniforms and samplers of the kind, for the setters by index. False after a GL error.
  bool SetKind(const ProgramKind& kind);

  bool Bind();
  bool UnBind();
  /// Sends every value again from the next Bind on, since what was sent before may not have arrived.
  void ForgetValues();

  /// Sets a uniform of the kind; values are int, float, and glm's vectors and matrices. Checks no error: the
  /// pass does.
  template <class Value>
  void Set(int index, const Value& value) {
    _Upload(uniforms_[static_cast<size_t>(index)], value);
  }
  const ProgramKind* Kind() const { return kind_; }

  // By name, each with an error check of its own; the library's passes set their uniforms by index.
  /// -1 when the program has no such uniform.
  int GetUniformLocation(const std::string& name);
  bool SetUniform1i(const std::string& name, int value) { return _Set(name, value); }
  bool SetUniform1f(const std::string& name, float value) { return _Set(name, value); }
  bool SetUniform2f(const std::string& name, const glm::vec2& value) { return _Set(name, value); }
  bool SetUniform3f(const std::string& name, const glm::vec3& value) { return _Set(name, value); }
  bool SetUniform4f(const std::string& name, const glm::vec4& value) { return _Set(name, value); }
  bool SetUniformMatrix3f(const std::string& name, const glm::mat3& matrix) { return _Set(name, matrix); }
  bool SetUniformMatrix4f(const std::string& name, const glm::mat4& matrix) { return _Set(name, matrix); }
  /// Binds a texture to a unit and the sampler to the unit; unit 0 is active afterwards.
  bool SetUniformTexture(int unit, int texture, const std::string& name, unsigned int target);

  /// Uniforms are state of the program, which may pass from one context to another.
  HandOver handOver;

  const std::string& CacheName() const { return cacheName_; }
  void SetCacheName(const std::string& name);

 private:
  struct Uniform {
    GLint location = -1;
    size_t bytes = 0;  // of the value that the program has; 0: not known
    std::array<std::byte, sizeof(glm::mat4)> value = {};
  };

  template <class Value>
  void _Upload(Uniform& uniform, const Value& value);
  template <class Value>
  bool _Set(const std::string& name, const Value& value, SourceLocation where = SourceLocation::current());
  bool _Loaded(SourceLocation where = SourceLocation::current()) const;
  void _SendSamplers();

  GLuint id_ = 0;
  bool loaded_ = false;
  ContextId context_ = 0;  // where it was bound last
  bool moved_ = false;     // it was bound elsewhere before
  const ProgramKind* kind_ = nullptr;
  std::array<Uniform, ProgramKind::kMaxUniforms> uniforms_;
  std::array<Uniform, 4> samplers_;
  std::unordered_map<std::string, GLint> locations_;
  std::string cacheName_;
};

}  // namespace qvg
