#pragma once

#include <source_location>

#include "base/contextObjects.h"
#include "base/gl.h"

namespace qvg {

class EBO;
class VBO;

/// One GL vertex array. Its name belongs to the context on which it was made: binding it on another one fails, and it
/// is deleted on its own.
class VAO {
 public:
  VAO();
  ~VAO();
  VAO(const VAO&) = delete;
  VAO& operator=(const VAO&) = delete;

  bool Bind();
  bool UnBind();

 private:
  GLuint id_ = 0;
  ContextId owner_ = 0;
};

/// Draws indexed vertices through a vertex array that lives for the length of the call. False after a GL error, which
/// is logged for the caller's place.
bool DrawElements(VBO& vbo, EBO& ebo, std::source_location where = std::source_location::current());

}  // namespace qvg
