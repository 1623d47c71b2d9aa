// Text over the picture: a line for a while, or the help until it is switched off.
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
  /** Removes the line when its time is over. @return true when it did. */
  bool Expire(double now);

  /** As large as the window, transparent around the text; null when there is no text, or no font. Throws Error. */
  const Texture& Draw(int width, int height);

 private:
  const Renderer& renderer_;
  std::string help_, line_, drawn_;
  double until_ = 0;
  bool failureTold_ = false;
  Texture texture_;
};

}  // namespace qvgtool
