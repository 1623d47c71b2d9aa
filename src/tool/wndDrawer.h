#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <string>

#include "base/contextState.h"
#include "base/gl.h"
#include "base/quad.h"

namespace qvg {

class Program;
class ProgramCache;
struct ProgramKind;
class QVGLContextManager;
class Texture;

/// Presents textures in one window of the host, through a context of its own on that window. Clear and Draw run on a
/// thread on which that context is current; the window outlives the drawer.
class WndDrawer {
 public:
  WndDrawer(QVGLContextManager& contexts, ProgramCache& programs) : contexts_(contexts), programs_(programs) {}
  ~WndDrawer();
  WndDrawer(const WndDrawer&) = delete;
  WndDrawer& operator=(const WndDrawer&) = delete;

  /// On any thread, whatever is current there. False, with a log line, for a null window, or when no context can be
  /// created on it.
  bool Init(void* window);
  bool Uninit();
  /// The window's size in pixels, not negative, for the next Draw. Any thread.
  void SetSize(int width, int height);
  void* Context() const { return context_; }

  /// Fills the window and shows it.
  void Clear(float red, float green, float blue);
  /// Shows the texture's content letterboxed over black, colour multiplied by alpha; null shows black. False when the
  /// drawer is not initialised, when its context is not current, or after a GL error, after which nothing is shown.
  bool Draw(const Texture* texture);

 private:
  struct alignas(2 * sizeof(int)) Size {  // So that it is one atomic word.
    int width;
    int height;
  };

  /// What it draws with: its program for straight and for premultiplied colours, and its quad, made by the first draw.
  struct Tools {
    explicit Tools(ProgramCache& cache) : programs(cache) {}
    ~Tools();
    Tools(const Tools&) = delete;
    Tools& operator=(const Tools&) = delete;

    // From the cache and back to it, so that the next drawer need not compile them, and none is deleted while contexts
    // are at work: Mesa then unbinds the vertex shader of a context that may have a program of it, and draws without.
    ProgramCache& programs;
    Program* straight = nullptr;
    Program* premultiplied = nullptr;
    Program* bounded = nullptr;  // for straight colours within larger storage; made by the first draw that needs it
    std::unique_ptr<Quad> quad;
  };

  bool _Link(GLuint program);
  // These two give 0 on failure.
  GLuint _LoadShader(GLenum type, const std::string& source);
  GLuint _CreateProgram(const std::string& vertexSource, const std::string& fragmentSource);
  /// Null on failure.
  Program* _TakeProgram(const char* name, const char* fragment, const ProgramKind& kind);
  bool _Ready() const;
  /// Null when it can't be had.
  const Texture* _WholeStorage(const Texture& texture);
  bool _DrawPicture(const Texture& texture, const Size& window);
  /// After a failed draw: drops what it may have left incomplete.
  void _Distrust();

  QVGLContextManager& contexts_;
  ProgramCache& programs_;
  bool initialized_ = false;
  void* context_ = nullptr;
  ContextId contextId_ = 0;
  std::mutex mutex_;
  std::unique_ptr<Tools> tools_;
  std::atomic<Size> size_ = Size{0, 0};
  // The content of a texture with larger storage, on its own: the program samples whatever lies beside it. Counts in no
  // pool: it lives as long as pictures of the size are shown.
  std::unique_ptr<Texture> content_;
};

}  // namespace qvg
