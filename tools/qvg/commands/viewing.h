// One run of qvg view.
#pragma once

#include <array>
#include <memory>
#include <optional>
#include <string>
#include <utility>
#include <vector>

#include "media/clipCursor.h"
#include "media/mediaReader.h"
#include "media/soundOutput.h"
#include "picture/compositor.h"
#include "picture/effect.h"
#include "picture/logCapture.h"
#include "window/previewWindow.h"

namespace qvgtool {

struct ViewOptions {
  std::string input;  // Empty: the tool's own clip.
  ReadOptions read;
  EffectSettings effect;
  std::string key;  // The value of --key.
  bool loop = false;
  bool maxSpeed = false;
  bool verbose = false;
};

struct Viewed {
  std::string told;    // The line about the key, if one was found.
  std::string damage;  // What was wrong with the input; empty when nothing was.
};

class Viewing {
 public:
  Viewing(ViewOptions options, LogCapture& log) : options_(std::move(options)), log_(log) {}

  /** Returns when the window is closed. Throws Error. */
  Viewed Run();

 private:
  void _SetUp();
  PreviewTasks _Tasks();
  bool _Play();
  bool _BeginAgain();
  bool _Go(const Move& move);
  void _Draw();
  void _Show();
  void _OpenSound();
  void _BeginSound(double time);
  void _TakeSound();

  std::string _Print() const;
  std::string _Save() const;
  std::string _Pick(double x, double y);
  std::array<uint8_t, 3> _ColorAt(double x, double y) const;
  const std::vector<FramePtr>& _Samples();
  std::string _Stem() const;

  ViewOptions options_;
  LogCapture& log_;
  std::optional<ClipCursor> clip_;
  std::optional<Renderer> renderer_;
  std::optional<Effect> effect_;
  std::optional<Compositor> compositor_, plain_;  // With the effect and without.
  std::optional<PreviewWindow> window_;
  std::unique_ptr<SoundOutput> sound_;  // null: the source has no sound, or none is wanted.
  int width_ = 0, height_ = 0;          // Upright.
  const Texture* picture_ = nullptr;
  FramePtr shown_;
  double shownTime_ = 0;  // In the clip.
  std::vector<FramePtr> samples_;
  double start_ = 0;  // In the window's time, which goes on when the clip begins again.
};

}  // namespace qvgtool
