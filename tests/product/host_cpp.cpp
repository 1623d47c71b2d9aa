// A host in C++: several parts of it keep the library running independently, and handles are made and moved in all
// ways.
#include <qvGLRenderer/qvGLRenderer.hpp>

#include <cstdio>
#include <optional>
#include <vector>

namespace {

bool LooksLike(const qvg::Texture& texture, uint8_t expected) {
  const qvg::ReadBack read = texture.ReadRGBA();
  return read && read->width == 4 && read->height == 2 && read.Row(1)[3 * 4] == expected;
}

/// However handles are moved, a texture is given back only once: otherwise the pool would lend it twice.
bool MovesHandles() {
  const std::vector<uint8_t> pixels(4 * 4 * 2, 90);
  const qvg::PixelBuffer frame(QVG_FORMAT_RGBA, 4, 2, pixels.data());
  std::vector<qvg::Texture> textures;
  for (int i = 0; i < 3; ++i) textures.push_back(qvg::Checked(qvg::Texture::FromFrame(frame), "uploading"));
  textures[0] = std::move(textures[2]);
  textures.pop_back();
  const qvg::Texture again = qvg::Texture::FromFrame(frame), another = qvg::Texture::FromFrame(frame);
  const uint32_t names[] = {again.Id(), another.Id(), textures[0].Id(), textures[1].Id()};
  for (int i = 0; i < 4; ++i) {
    for (int j = 0; j < i; ++j) {
      if (names[i] == names[j]) return false;
    }
  }
  qvg::ReadBack first = again.ReadNV12(), second = std::move(first);
  first = again.ReadRGBA();
  second = std::move(first);
  return !first && second && second->format == QVG_FORMAT_RGBA && second.Row(0)[0] == 90;
}

bool DrawsAndFails() {
  const qvg::Texture target = qvg::Checked(qvg::Texture::Acquire(4, 2), "acquiring");
  const qvg::Texture white = qvg::Checked(qvg::Texture::Acquire(4, 2), "acquiring");
  const qvg::FrameBuffer frameBuffer = qvg::Checked(qvg::FrameBuffer::On(target), "making a frame buffer");
  const bool drawn = white.Clear({1, 1, 1, 1}) && frameBuffer.Clear({0, 0, 0, 1}) &&
                     frameBuffer.Draw(white, qvg::DrawParams().Blend(QVG_BLEND_NORMAL).Opacity(0.6));
  const qvg::Effect effect = qvg::Effect::New();
  const bool set = effect.Set("enable_color", true) && effect.Set("bright", 100) && effect.Set("color", 0, 1, 0) &&
                   effect.Set("bgfile", nullptr) && !effect.Set("bright", "much");
  try {
    qvg::Checked(qvg::Texture::FromFrame(qvg::PixelBuffer()), "this");
    return false;
  } catch (const qvg::Error&) {
  }
  return drawn && set && LooksLike(target, 153) && LooksLike(effect.Apply(target), 255);
}

}  // namespace

int main() {
  qvg::Context late;
  {
    std::optional<qvg::Library> one(std::in_place), two(std::in_place);
    const qvg::Context context = qvg::Context::New();
    const qvg::CurrentContext current(context);
    one.reset();
    if (!*two || !current || !MovesHandles() || !DrawsAndFails()) {
      std::fprintf(stderr, "the C++ header does not do what it says\n");
      return 1;
    }
    const qvg::Library borrowed(qvg::Table());
    const qvg::Context second = qvg::Context::New();
    {
      const qvg::CurrentContext inner(second);
      if (!inner || qvg::Table().GetCurrentContext() != second.get()) return 2;
    }
    if (qvg::Table().GetCurrentContext() != context.get()) return 3;
    late = qvg::Context::New();
  }
  late.reset();  // After the release: its object went with the library, and this must not start it again.
  return 0;
}
