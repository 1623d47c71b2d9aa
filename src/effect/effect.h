#pragma once

#include <functional>
#include <string>

#include "base/pass.h"
#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg {

class ImageSource;
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

/// Makes a new texture of a frame. Used on one thread at a time, with a context of the library current.
class Effect {
 public:
  /// @param typeName name of the effect's group; not owned.
  Effect(const char* typeName, const EffectServices& services) : typeName_(typeName), services_(services) {}
  virtual ~Effect() = default;
  Effect(const Effect&) = delete;
  Effect& operator=(const Effect&) = delete;

  virtual bool SetParam(const std::string& /*key*/, const ParamValue* /*value*/) { return false; }
  /// The form with two inputs; returns the first one.
  virtual Texture* Process(Texture* first, Texture* /*second*/, float /*value*/) { return first; }
  /// The result's ownership passes to the caller, who gives it back to the texture pool. Null: nothing was drawn. The
  /// base class returns the frame itself.
  virtual Texture* Process(Texture* frame) { return frame; }

  const char* TypeName() const { return typeName_; }

 protected:
  const char* typeName_;
  EffectServices services_;
};

/// Base of the effects with one texture in and one out.
class TextureEffect : public Effect {
 public:
  using Effect::Effect;

 protected:
  /// Draws the frame as it is presented, turned by its rotation and the right way up, texel for texel into a new
  /// texture of that size. Null on failure.
  /// @param sampler index of the frame's sampler in the kind. @param setUp sets everything else of the pass.
  Texture* _Draw(const Texture& frame, const ProgramKind& kind, uint32_t variant, int sampler,
                 const std::function<void(Pass&)>& setUp);
};

}  // namespace qvg
