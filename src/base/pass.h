#pragma once

#include <array>
#include <cstdint>
#include <glm/glm.hpp>

#include "base/content.h"
#include "base/debugLabels.h"
#include "base/gl.h"
#include "base/program.h"
#include "base/renderTarget.h"
#include "utils/sourceLocation.h"

namespace qvg {

class ProgramCache;
class Quad;
class Texture;
struct ContextState;

/// How a pass reads a texture.
enum class Sampling { kAsSet, kNearest };

/// One draw of a quad: begins with its construction, and ends with its destruction, which leaves nothing bound and
/// checks for a GL error, unless End has done so, or the operation that the pass is a step of will.
class Pass {
 public:
  /// Uniforms that every kind of program has first.
  enum CommonUniform { kMvpMat, kTexcoordMat, kFirstOwnUniform };

  /// With the variant's program, which the current context holds.
  Pass(ProgramCache& programs, const ProgramKind& kind, uint32_t variant, const RenderTarget& target);
  /// With a program of the caller's, and its geometry.
  Pass(Program& program, Quad& quad, const RenderTarget& target);
  ~Pass();
  Pass(const Pass&) = delete;
  Pass& operator=(const Pass&) = delete;

  /// Whether there is something to draw with.
  bool Ready() const { return ready_; }

  template <class Value>
  void Set(int uniform, const Value& value) {
    program_->Set(uniform, value);
  }
  /// @param sampler index in the kind's list.
  void SetTexture(int sampler, const Texture& texture, Sampling sampling = Sampling::kAsSet);
  /// Draws the quad with the uniforms set so far.
  void Draw();
  /// Draws the quad with these matrices: from -1..1 to clip space, and from 0..1 to storage coordinates of a texture.
  void Draw(const glm::mat4& mvp, const glm::mat3& texcoords);
  /// Ends the pass, and the operation that it is. False after a GL error, which is logged for the caller's place.
  bool End(SourceLocation where = SourceLocation::current());
  /// Ends the pass without a check.
  void EndUnchecked() { _Unbind(); }

 private:
  struct BoundTexture {
    int unit;
    GLenum target;
    bool sampler;
  };

  void _Begin(const RenderTarget& target);
  void _Unbind();

  ContextState* context_;
  Program* program_ = nullptr;
  Quad* quad_ = nullptr;
  std::array<BoundTexture, 4> textures_ = {};
  size_t textureCount_ = 0;
  bool ready_ = false;
  bool begun_ = false;
  DebugGroup group_;
};

}  // namespace qvg
