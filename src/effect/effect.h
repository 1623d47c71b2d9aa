#pragma once

#include <glm/glm.hpp>
#include <memory>
#include <string>

#include "base/ebo.h"
#include "base/vbo.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class FrameBuffer;
class ImageSource;
class Program;
class ProgramCache;
class SurfaceSource;
class Texture;

using ParamValue = QVGParamValue;

/// What an effect borrows from its owner.
struct EffectServices {
  ProgramCache& programs;
  SurfaceSource& surfaces;
  ImageSource& images;
};

/// Turns a frame into a new texture by one full-frame draw. Used on one thread at a time, with a context of the share
/// group current.
class Effect {
 public:
  /// @param typeName name of the effect's group; not owned.
  Effect(const char* typeName, const EffectServices& services);
  virtual ~Effect();
  Effect(const Effect&) = delete;
  Effect& operator=(const Effect&) = delete;

  virtual bool SetParam(const std::string& key, const ParamValue* value);
  /// The form with two inputs; gives the first one back.
  virtual Texture* Process(Texture* first, Texture* second, float value);
  /// The result's ownership passes to the caller, who gives it back to the texture pool. Null: nothing was drawn. The
  /// base gives the frame itself back.
  virtual Texture* Process(Texture* frame);

  const char* TypeName() const { return typeName_; }

 protected:
  virtual void _ModelMatrix(glm::mat4& model) const;
  /// The quad of the output's size, on which the frame stands as it presents: turned by its rotation, and the right way
  /// up when its rows are flipped.
  virtual bool _LoadVertices(const Texture& frame);
  virtual bool _LoadIndices();

  bool LoadProgram(const char* name, const std::string& vertexSource, const std::string& fragmentSource);
  /// Takes an output of the presented frame's size and binds the frame buffer with it.
  bool PrepareTarget(const Texture* frame);
  /// Unbinds frame buffer and program, and gives the program back.
  bool Unbind();
  bool _Draw(VBO* vbo, EBO* ebo);
  /// Hands the output to the caller, detached from the frame buffer.
  Texture* _TakeOutput();
  void _ReleaseOutput();

  const char* typeName_;
  EffectServices services_;
  std::unique_ptr<FrameBuffer> frameBuffer_;
  Program* program_ = nullptr;
  Texture* output_ = nullptr;
  glm::ivec2 targetSize_ = {0, 0};
  glm::mat4 mvp_ = glm::mat4(1);
  VBO vbo_;
  EBO ebo_;
};

/// Base of the effects with one texture in and one out.
class TextureEffect : public Effect {
 public:
  using Effect::Effect;
};

}  // namespace qvg
