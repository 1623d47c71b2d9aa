// A window that shows pictures and takes keys: pause, step, turn, flip, stages of the effect, close.
#pragma once

#include <functional>
#include <memory>
#include <string>

#include "picture/renderer.h"
#include "window/playback.h"
#include "window/stageSwitches.h"

struct GLFWwindow;

namespace qvgtool {

/** The keys, for help texts. */
extern const char* const kPreviewKeys;

/** To be used on the main thread, with the renderer's context current there, and to be gone before the renderer is. */
class PreviewWindow {
 public:
  /**
   * name: for the title. width, height: of the pictures, in pixels; the window is smaller on a small screen. paced:
   * pictures keep the clip's own rate. stopped: asked while waiting; true ends the wait. Throws Error when there is no
   * display or no drawing to it.
   */
  PreviewWindow(const Renderer& renderer, const std::string& name, int width, int height, bool paced,
                std::function<bool()> stopped);
  ~PreviewWindow();
  PreviewWindow(const PreviewWindow&) = delete;
  PreviewWindow& operator=(const PreviewWindow&) = delete;

  /** Has the keys 1 to 4 change these switches, to be read before each picture is drawn. */
  void SetStages(StageSwitches* stages) { stages_ = stages; }

  /**
   * Serves the window until the picture of that time in the clip, in seconds, is due. redraw: called when the picture
   * shown has to be drawn again because a stage was switched meanwhile.
   * @return false when the user has closed the window or the wait was stopped.
   */
  bool WaitFor(double time, const std::function<void()>& redraw);

  /** Shows a picture, whose texture must stay, and may be drawn to again, until the next is shown. */
  void Show(const Texture& picture, double time);

  /** Serves the window until it is closed or the wait is stopped. what: for the title. redraw: as above. */
  void Hold(const std::string& what, const std::function<void()>& redraw);

  bool Closed() const { return closed_; }

 private:
  struct Glfw {
    Glfw();
    ~Glfw();
  };
  struct DestroyWindow {
    void operator()(GLFWwindow* window) const;
  };
  using Drawer = Handle<QVGWndDrawer, &QVGGLRendererInterface::DestroyWndDrawer>;

  static PreviewWindow& _Of(GLFWwindow* window);
  void _OnKey(int key);
  void _SwitchStage(size_t index);
  bool _Serve(double timeout, const std::function<void()>& redraw);
  void _Present();
  void _UpdateTitle(bool now);

  const Renderer& renderer_;
  std::string name_, driver_, state_, title_;
  std::function<bool()> stopped_;
  Glfw glfw_;
  std::unique_ptr<GLFWwindow, DestroyWindow> window_;
  Drawer drawer_;
  Playback playback_;
  StageSwitches* stages_ = nullptr;
  QVGTexture* picture_ = nullptr;
  unsigned turns_ = 0;
  bool flipped_ = false;
  bool dirty_ = false, stagesChanged_ = false, noEffectTold_ = false, closed_ = false;
  double nextTitle_ = 0;
};

}  // namespace qvgtool
