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

struct FormatSamplers {
  int32_t format;
  PlaneSampler planes[3];
};

constexpr FormatSamplers kSamplers[] = {
    {YUV2RGBDrawer::kPlanar8, {{"Y", "texY"}, {"U", "texU"}, {"V", "texV"}}},
    {YUV2RGBDrawer::kNV12, {{"Y", "texY"}, {"UV", "texUV"}, {nullptr, nullptr}}},
    {YUV2RGBDrawer::kTwoPlane16, {{"Y", "texY16"}, {"UV", "texUV16"}, {nullptr, nullptr}}}};

constexpr int kFirstUnit = 9;

}  // namespace

bool YUV2RGBDrawer::BeginDraw() {
  constexpr char kNoScene[] = "YUV2RGBDrawer: scene is null";
  using namespace shaders;
  switch (format) {
    case kPlanar8:
      return _BeginDraw({"YUV2RGBShaderProgram8bitYUV420P", yuv2rgb_vert, {yuv2rgb_glsl, yuv2rgbPlanar_frag}},
                        kNoScene);
    case kNV12:
      return _BeginDraw({"YUV2RGBShaderProgram8bitNV12", yuv2rgb_vert, {yuv2rgb_glsl, yuv2rgbNV12_frag}}, kNoScene);
    case kTwoPlane16:
      return _BeginDraw({"YUV2RGBShaderProgram16bit", yuv2rgb_vert, {yuv2rgb_glsl, yuv2rgb16_frag}}, kNoScene);
    default:
      return false;
  }
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
  const FormatSamplers& samplers = kSamplers[format - kPlanar8];
  for (int i = 0; i < 3 && samplers.planes[i].suffix != nullptr; ++i) {
    const Plane& plane = planes[i];
    const std::string suffix = samplers.planes[i].suffix;
    const ContentRect content = ContentRect::Of(*plane.texture);
    program_->SetUniformTexture(kFirstUnit + i, static_cast<int>(plane.texture->id), samplers.planes[i].sampler,
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
