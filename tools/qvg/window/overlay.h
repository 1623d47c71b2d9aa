// Text over the picture: a line for a while, the help for as long as it is wanted.
#pragma once

#include <string>

#include "picture/renderer.h"

namespace qvgtool {

class Overlay {
 public:
  explicit Overlay(const Renderer& renderer) : renderer_(renderer) {}

  /** Empty: none. */
  void SetHelp(const std::string& text) { help_ = text; }
  bool Helps() const { return !help_.empty(); }
  void Say(const std::string& line, double until);
  /** The line's time is over. @return true when that changes what is shown. */
  bool Expire(double now);

  /** As large as the window, transparent where there is no text; null when there is none, or no font. Throws Error. */
  const Texture& Draw(int width, int height);

 private:
  const Renderer& renderer_;
  std::string help_, line_, drawn_;
  double until_ = 0;
  bool failureTold_ = false;
  Texture texture_;
};

}  // namespace qvgtool
