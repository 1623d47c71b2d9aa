#include "drawer/yuv2rgbDrawer.h"

#include "base/framebuffer.h"
#include "base/program.h"
#include "base/texture.h"
#include "drawer/shaders.h"

namespace qvg {

namespace {

struct PlaneSampler {
  const char* suffix;  ///< Of the plane's uniforms; null: the format has no such plane.
  const char* sampler;
};

struct FormatProgram {
  int32_t format;
  const char* name;
  const char* fragment;
  PlaneSampler planes[3];
};

constexpr FormatProgram kPrograms[] = {{YUV2RGBDrawer::kPlanar8,
                                        "YUV2RGBShaderProgram8bitYUV420P",
                                        shaders::yuv2rgbPlanar_frag,
                                        {{"Y", "texY"}, {"U", "texU"}, {"V", "texV"}}},
                                       {YUV2RGBDrawer::kNV12,
                                        "YUV2RGBShaderProgram8bitNV12",
                                        shaders::yuv2rgbNV12_frag,
                                        {{"Y", "texY"}, {"UV", "texUV"}, {nullptr, nullptr}}},
                                       {YUV2RGBDrawer::kTwoPlane16,
                                        "YUV2RGBShaderProgram16bit",
                                        shaders::yuv2rgb16_frag,
                                        {{"Y", "texY16"}, {"UV", "texUV16"}, {nullptr, nullptr}}}};

const FormatProgram* FindProgram(int32_t format) {
  for (const FormatProgram& program : kPrograms) {
    if (program.format == format) return &program;
  }
  return nullptr;
}

constexpr int kFirstUnit = 9;

}  // namespace

bool YUV2RGBDrawer::BeginDraw() {
  const FormatProgram* program = FindProgram(format);
  return program != nullptr &&
         _BeginDraw({program->name, shaders::yuv2rgb_vert, {shaders::yuv2rgb_glsl, program->fragment}},
                    "YUV2RGBDrawer: scene is null");
}

bool YUV2RGBDrawer::Draw() {
  Texture* target = scene_ != nullptr ? scene_->ColorTexture() : nullptr;
  if (target != nullptr) target->CentreContent(target->loadedWidth, target->loadedHeight);
  if (!BeginDraw()) {
    EndDraw();
    return false;
  }
  const SceneMapping mapping = SceneMapping::Of(*scene_);
  program_->SetUniformMatrix4f("mvpMat", _Mvp(), 1);
  program_->SetUniform1i("yuvFormat", format);
  program_->SetUniform1i("fullRange", fullRange ? 1 : 0);
  program_->SetUniform2f("dstRate", mapping.rate);
  program_->SetUniform2f("dstOffset", mapping.offset);
  const PlaneSampler* const samplers = FindProgram(format)->planes;
  for (int i = 0; i < 3 && samplers[i].suffix != nullptr; ++i) {
    const Plane& plane = planes[i];
    const std::string suffix = samplers[i].suffix;
    const ContentRect content = ContentRect::Of(*plane.texture);
    program_->SetUniformTexture(kFirstUnit + i, static_cast<int>(plane.texture->id), samplers[i].sampler,
                                plane.texture->target);
    program_->SetUniform2f("uvRate" + suffix, {static_cast<double>(plane.width - 1) / content.storageWidth,
                                               static_cast<double>(plane.height - 1) / content.storageHeight});
    program_->SetUniform2f("offset" + suffix, content.Origin());
  }
  const bool ok = _DrawSceneQuad();
  EndDraw();
  return ok;
}

}  // namespace qvg
