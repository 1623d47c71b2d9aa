#pragma once

#include "base/contextState.h"
#include "base/gl.h"

namespace qvg {

/// One GL vertex array. Its name belongs to the context on which it was created: binding it on another one fails, and
/// it is deleted on its own one.
class VAO {
 public:
  VAO();
  ~VAO();
  VAO(const VAO&) = delete;
  VAO& operator=(const VAO&) = delete;

  bool Bind();
  bool UnBind();

  GLuint Id() const { return id_; }

 private:
  GLuint id_ = 0;
  ContextId owner_ = 0;
};

}  // namespace qvg
