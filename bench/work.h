#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace bench {

/// A frame's size, in pixels.
struct Size {
  int width;
  int height;

  size_t Pixels() const { return static_cast<size_t>(width) * static_cast<size_t>(height); }
  std::string Text() const { return std::to_string(width) + " x " + std::to_string(height); }
  bool operator==(const Size&) const = default;
};

/// What is done with a frame. Memory to memory, but for the layers, which end on the GPU.
enum class Work {
  kNV12ToNV12,      ///< Through an RGBA texture.
  kI420ToI420,      ///< The same, planar.
  kNV12ToRGBA,      ///< Through an RGBA texture.
  kKeyToNV12,       ///< Green is keyed out, over a background.
  kAllToNV12,       ///< The same with skin and colour stages.
  kRGBAToRGBA,      ///< Up and down.
  kMultiplyLayers,  ///< 40 layers blended one after the other.
  kNormalLayers,
};

/// The effect's parameters, as the table takes them. Percent; the key's parameters in per mille.
struct EffectSettings {
  int similarity = 400;
  int smoothness = 80;
  int spill = 100;
  int blur = 0;
  int whitten = 0;
  int bright = 0;
  int temperature = 0;
  int highlight = 0;
  int shadow = 0;
};

constexpr EffectSettings kKeyOnly;
constexpr EffectSettings kAllStages = {
    .blur = 50, .whitten = 30, .bright = 10, .temperature = 20, .highlight = 30, .shadow = 20};

/// A layer's place: of its first column and row in the target.
struct Layer {
  int x;
  int y;
  float opacity;
};

constexpr int kLayerSize = 256;
constexpr int kLayerPictures = 8;
constexpr float kLayerGround[4] = {0.8f, 0.7f, 0.6f, 1.0f};

/// 40 places that overlap, the pictures in turn.
std::vector<Layer> MakeLayers(Size target);
/// RGBA, straight alpha, transparent towards the corners.
std::vector<uint8_t> MakeLayerPicture(int index);

/// The frames of one size: a figure before a green screen, and a background.
struct Pictures {
  std::vector<uint8_t> rgba;
  std::vector<uint8_t> nv12;
  std::vector<uint8_t> i420;
  std::vector<uint8_t> background;  ///< BGRA.
};

/// Made at the first use; not from two threads at a time.
const Pictures& PicturesOf(Size size);

/// One way to do one work at one size, again and again.
class Renderer {
 public:
  virtual ~Renderer() = default;
  /// Before frames, on the thread that draws them.
  virtual void MakeCurrent() = 0;
  /// @return something of the result, so that nobody leaves the work out. result, when not null, receives all of it.
  virtual int Frame(std::vector<uint8_t>* result) = 0;
};

}  // namespace bench
