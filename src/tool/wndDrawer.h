#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "base/gl.h"

namespace qvg {

class QVGLContextManager;
class Texture;

/// Presents textures in one window of the host, through a context of its own on that window. Clear and Draw run on a
/// thread on which that context is current; the window outlives the drawer.
class WndDrawer {
 public:
  explicit WndDrawer(QVGLContextManager& contexts) : contexts_(contexts) {}
  ~WndDrawer();
  WndDrawer(const WndDrawer&) = delete;
  WndDrawer& operator=(const WndDrawer&) = delete;

  /// Leaves current what was current before. False, with a line in the log, for a null window, or when no context can
  /// be made on it.
  bool Init(void* window);
  bool Uninit();
  /// The window's size in pixels, not negative, for the next Draw. Any thread.
  void SetSize(int width, int height);
  void* Context() const { return context_; }

  /// Fills the window and shows it.
  void Clear(float red, float green, float blue);
  /// Shows the texture's content letterboxed over black, colour multiplied by alpha; null shows black. False when the
  /// drawer is not initialised or its context is not current.
  bool Draw(const Texture* texture);

 private:
  struct Size {
    int width;
    int height;
  };

  GLuint _LoadShader(GLenum type, const std::string& source);
  GLuint _CreateProgram(const std::string& vertexSource, const std::string& fragmentSource);
  void _CreateGeometry();
  void _DestroyVertexArrays();
  void _DestroyObjects();
  bool _Ready() const;
  void _BindTarget();
  void _UnbindTarget();
  const Texture* _WholeStorage(const Texture& texture);
  void _DrawQuad(const Texture& texture, const Size& window);

  QVGLContextManager& contexts_;
  bool initialized_ = false;
  void* context_ = nullptr;
  std::mutex mutex_;
  GLuint program_ = 0;
  GLuint positionBuffer_ = 0;
  GLuint texcoordBuffer_ = 0;
  GLuint flippedTexcoordBuffer_ = 0;
  GLuint vertexArray_ = 0;
  GLuint indexBuffer_ = 0;
  GLuint flippedVertexArray_ = 0;
  GLint textureLocation_ = -1;
  GLuint targetFramebuffer_ = 0;
  GLuint targetRenderbuffer_ = 0;
  bool useTargetFramebuffer_ = false;
  bool useTargetRenderbuffer_ = false;
  std::atomic<Size> size_ = Size{0, 0};
  // The content of a texture with larger storage, on its own: the program samples whatever lies beside it. Counts in no
  // pool: it lives as long as pictures of the size are shown.
  std::unique_ptr<Texture> content_;
};

}  // namespace qvg
