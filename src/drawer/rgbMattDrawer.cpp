#include "drawer/rgbMattDrawer.h"

#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

namespace {

enum Uniform { kMattColor = Pass::kFirstOwnUniform };

constexpr ProgramKind kKind = {.name = "RGBMATTShaderProgram",
                               .vertex = {shaders::quad_vert},
                               .fragment = {shaders::rgbMatt_frag},
                               .uniforms = {"mvpMat", "texcoordMat", "mattColor"},
                               .samplers = {{"tex", 1}}};

}  // namespace

bool RGBMattDrawer::Draw(const Scene* scene, const Parameters& parameters) {
  if (!_HasScene(scene)) return false;
  Pass pass(programs_, kKind, 0, scene->target);
  if (!pass.Ready()) return false;
  pass.SetTexture(0, *parameters.source);
  pass.Set(kMattColor, parameters.keyColor);
  pass.Draw(SceneMatrix(*scene), ContentTexMatrix(parameters.source->Content(), 0, parameters.flip));
  return pass.End();
}

}  // namespace qvg
