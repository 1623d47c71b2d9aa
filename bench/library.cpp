#include "bench/library.h"

#include <cstdio>
#include <stdexcept>
#include <string>

namespace bench {

namespace {

QVGHostImage* Decode(const char* path) {
  static QVGHostImage image;
  Size size = {};
  if (std::sscanf(path, "%d x %d", &size.width, &size.height) != 2) return nullptr;
  image.pixels = PicturesOf(size).background.data();
  image.width = size.width;
  image.height = size.height;
  return &image;
}

class Library : public Renderer {
 public:
  Library(const QVGGLRendererInterface& table, Work work, Size size) : table_(table), work_(work), size_(size) {
    context_ = table_.GetSharedContext();
    MakeCurrent();
    const int32_t format = work == Work::kI420ToI420   ? QVG_FORMAT_I420
                           : work == Work::kRGBAToRGBA ? QVG_FORMAT_RGBA
                                                       : QVG_FORMAT_NV12;
    source_ = Describe(PicturesOf(size), size, format);
    if (work == Work::kKeyToNV12) effect_ = MakeEffect(table_, kKeyOnly, size);
    if (work == Work::kAllToNV12) effect_ = MakeEffect(table_, kAllStages, size);
    if (work == Work::kMultiplyLayers || work == Work::kNormalLayers) _MakeLayers();
  }

  ~Library() override {
    MakeCurrent();
    if (effect_ != nullptr) table_.DestroyEffect(&effect_);
    if (target_ != nullptr) table_.DestroyFrameBuffer(&target_);
    if (canvas_ != nullptr) table_.ReleaseTexture(&canvas_);
    for (QVGTexture*& texture : layerTextures_) table_.ReleaseTexture(&texture);
    table_.ReleaseSharedContext(&context_);
  }

  void MakeCurrent() override { Check(table_.MakeCurrentContext(context_, nullptr), "MakeCurrentContext"); }

  int Frame(std::vector<uint8_t>* result) override {
    if (target_ != nullptr) return _LayersFrame(result);
    QVGTexture* texture = table_.UploadPixelBufferToNewTexture(&source_, false, false, {});
    Check(texture != nullptr, "UploadPixelBufferToNewTexture");
    if (effect_ != nullptr) {
      QVGTexture* shown = table_.ApplyEffect(effect_, texture);
      Check(shown != nullptr, "ApplyEffect");
      table_.ReleaseTexture(&texture);
      texture = shown;
    }
    const int seen = _Read(texture, result);
    table_.ReleaseTexture(&texture);
    return seen;
  }

 private:
  void _MakeLayers() {
    canvas_ = table_.AcquireTexture(static_cast<uint32_t>(size_.width), static_cast<uint32_t>(size_.height));
    target_ =
        table_.CreateFrameBuffer(static_cast<uint32_t>(size_.width), static_cast<uint32_t>(size_.height), false, false);
    Check(canvas_ != nullptr && table_.BindTextureToFrameBuffer(target_, canvas_), "BindTextureToFrameBuffer");
    for (int i = 0; i < kLayerPictures; ++i) {
      std::vector<uint8_t> picture = MakeLayerPicture(i);
      const QVGPixelBuffer buffer = {{picture.data()}, {kLayerSize * 4}, kLayerSize, kLayerSize, 0, 0, QVG_FORMAT_RGBA};
      layerTextures_.push_back(table_.UploadPixelBufferToNewTexture(&buffer, false, false, {}));
      Check(layerTextures_.back() != nullptr, "UploadPixelBufferToNewTexture");
    }
    for (const Layer& layer : MakeLayers(size_)) {
      QVGDrawTextureParams params = {};
      params.blendType = work_ == Work::kMultiplyLayers ? QVG_BLEND_MULTIPLY : QVG_BLEND_NORMAL;
      params.opacity = layer.opacity;
      for (double& scale : params.scale) scale = 1;
      params.translation[0] = layer.x + (kLayerSize - size_.width) / 2.0;
      params.translation[1] = layer.y + (kLayerSize - size_.height) / 2.0;
      layers_.push_back(params);
    }
  }

  int _LayersFrame(std::vector<uint8_t>* result) {
    const double ground[] = {kLayerGround[0], kLayerGround[1], kLayerGround[2], kLayerGround[3]};
    bool ok = table_.ClearFrameBuffer(target_, ground);
    for (size_t i = 0; i < layers_.size(); ++i) {
      ok = table_.DrawTexture(layerTextures_[i % kLayerPictures], target_, &layers_[i]) && ok;
    }
    Check(ok, "DrawTexture");
    table_.Finish();
    return result != nullptr ? _Read(canvas_, result) : 0;
  }

  int _Read(QVGTexture* texture, std::vector<uint8_t>* result) {
    const bool rgba = work_ == Work::kNV12ToRGBA || work_ == Work::kRGBAToRGBA || target_ != nullptr;
    QVGPixelBuffer out = {};
    Check(rgba                         ? table_.TextureToRGBAPixelBuffer(texture, &out, false)
          : work_ == Work::kI420ToI420 ? table_.TextureToYUV420PixelBuffer(texture, false, false, &out)
                                       : table_.TextureToNV12PixelBuffer(texture, &out, false),
          "a read-back");
    const size_t pixels = size_.Pixels();
    size_t bytes[3] = {rgba ? pixels * 4 : pixels, 0, 0};
    if (!rgba) bytes[1] = bytes[2] = pixels / 4;
    if (out.plane[1] != nullptr && out.plane[2] == nullptr) bytes[1] = pixels / 2;
    int seen = 0;
    if (result != nullptr) result->clear();
    for (int i = 0; i < 3 && out.plane[i] != nullptr; ++i) {
      seen += out.plane[i][0] + out.plane[i][bytes[i] - 1];
      if (result != nullptr) result->insert(result->end(), out.plane[i], out.plane[i] + bytes[i]);
    }
    QVGPixelBuffer* handle = &out;
    table_.ReleasePixelBuffer(&handle);
    return seen;
  }

  const QVGGLRendererInterface& table_;
  const Work work_;
  const Size size_;
  QVGGLContext* context_ = nullptr;
  QVGPixelBuffer source_ = {};
  QVGEffect* effect_ = nullptr;
  QVGFrameBuffer* target_ = nullptr;
  QVGTexture* canvas_ = nullptr;
  std::vector<QVGTexture*> layerTextures_;
  std::vector<QVGDrawTextureParams> layers_;
};

}  // namespace

const QVGGLRendererInterface* StartLibrary() {
  QVGConfig config = {};
  config.decodeImage = Decode;
  return QVG_GetGLRendererInterface(&config);
}

void Check(bool ok, const char* what) {
  if (!ok) throw std::runtime_error(std::string(what) + " failed");
}

QVGPixelBuffer Describe(const Pictures& pictures, Size size, int32_t format) {
  QVGPixelBuffer frame = {};
  frame.width = size.width;
  frame.height = size.height;
  frame.format = format;
  // The library reads them only.
  const auto plane = [&](int index, const std::vector<uint8_t>& bytes, size_t offset, int stride) {
    frame.plane[index] = const_cast<uint8_t*>(bytes.data()) + offset;
    frame.stride[index] = stride;
  };
  if (format == QVG_FORMAT_RGBA) {
    plane(0, pictures.rgba, 0, size.width * 4);
  } else if (format == QVG_FORMAT_NV12) {
    plane(0, pictures.nv12, 0, size.width);
    plane(1, pictures.nv12, size.Pixels(), size.width);
  } else {
    plane(0, pictures.i420, 0, size.width);
    plane(1, pictures.i420, size.Pixels(), size.width / 2);
    plane(2, pictures.i420, size.Pixels() * 5 / 4, size.width / 2);
  }
  return frame;
}

QVGEffect* MakeEffect(const QVGGLRendererInterface& table, const EffectSettings& settings, Size size) {
  QVGEffect* effect = table.CreateEffect("general_eff");
  bool ok = effect != nullptr;
  const auto set = [&](const char* key, const QVGParamValue& value) {
    ok = ok && table.SetEffectParameter(effect, key, &value);
  };
  const auto number = [&](const char* key, int value) { set(key, {QVG_PARAM_INTEGER, {.integer = value}}); };
  const auto enable = [&](const char* key) { set(key, {QVG_PARAM_BOOLEAN, {.boolean = true}}); };
  const std::string path = size.Text();
  set("color", {QVG_PARAM_COLOR, {.color = {0, 1, 0}}});
  set("bgfile", {QVG_PARAM_TEXT, {.text = path.c_str()}});
  number("similarity", settings.similarity);
  number("smoothness", settings.smoothness);
  number("anti-spill", settings.spill);
  enable("enable_key");
  enable("enable_bg");
  if (settings.blur > 0) {
    number("blur", settings.blur);
    number("whitten", settings.whitten);
    number("bright", settings.bright);
    number("temperature", settings.temperature);
    number("highlight", settings.highlight);
    number("shadow", settings.shadow);
    enable("enable_beauty");
    enable("enable_color");
  }
  Check(ok, "SetEffectParameter");
  return effect;
}

std::unique_ptr<Renderer> MakeLibraryRenderer(const QVGGLRendererInterface& table, Work work, Size size) {
  return std::make_unique<Library>(table, work, size);
}

}  // namespace bench
