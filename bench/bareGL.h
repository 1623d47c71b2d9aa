#pragma once

#include <cstdint>
#include <vector>

#include <glad/gl.h>

namespace bench {

/// A frame's size, in pixels.
struct Size {
  int width;
  int height;
};

/// The least GL work for the same pictures: every object made once, no checks, the formulas of the library's passes.
/// Runs on the context that is current when it is made.
class BareGL {
 public:
  explicit BareGL(Size size);
  ~BareGL();
  BareGL(const BareGL&) = delete;
  BareGL& operator=(const BareGL&) = delete;

  /// Each reads its result into a pixel buffer, maps it and looks at it.
  int NV12ToNV12(const std::vector<uint8_t>& frame);
  int NV12ToRGBA(const std::vector<uint8_t>& frame);
  int RGBAToRGBA(const std::vector<uint8_t>& frame);

 private:
  struct Target {
    GLuint texture = 0;
    GLuint frameBuffer = 0;
  };

  Target _MakeTarget(int width, int height);
  void _UploadNV12(const std::vector<uint8_t>& frame);
  void _DrawRGB();
  void _DrawNV12();
  int _Read(const Target& target, int width, int height);

  Size size_;
  GLuint vertexArray_ = 0;
  GLuint luma_ = 0;
  GLuint chroma_ = 0;
  Target rgb_;
  Target packed_;
  GLuint toRGB_ = 0;
  GLuint toLuma_ = 0;
  GLuint toChroma_ = 0;
  GLuint pixelBuffer_ = 0;
};

}  // namespace bench
