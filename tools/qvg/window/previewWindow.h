// A window that shows pictures and handles its keys.
#pragma once

#include <deque>
#include <functional>
#include <memory>
#include <optional>
#include <string>

#include "window/nativeWindow.h"
#include "window/overlay.h"
#include "window/parameterKeys.h"
#include "window/playback.h"
#include "window/screen.h"

namespace qvgtool {

/** What the window asks of the command; tasks left empty have no keys. Those that return a text return a line to show.
 *  They may throw Error, which is shown, too. */
struct PreviewTasks {
  std::function<void()> redraw = {};            // Draws the shown picture again after a change of the effect.
  std::function<const Texture&()> before = {};  // The shown picture without the effect.
  std::function<std::string()> print = {}, save = {};
  std::function<std::string(double x, double y)> pick =
      {};  // A point of the picture was clicked; coordinates from 0 to 1.
  // Called again and again with the time in the clip; none while it stands still or is not paced.
  std::function<void(std::optional<double> time)> clock = {};
  bool travel = false;  // The command can handle kMove.
};

/** Where the user wants to go in the clip, from the shown picture or from the start. */
struct Move {
  bool toStart = false;
  double seconds = 0;
  int framesBack = 0;
};

/** Why waiting has ended. */
enum class Served { kDue, kMove, kEnd };

/** To be used on the main thread with the renderer's context current, and destroyed before the renderer. */
class PreviewWindow {
 public:
  /**
   * name: for the title. width, height: of the pictures, in pixels. paced: pictures keep the clip's timing. stopped:
   * asked while waiting; true ends the wait. Throws Error when there is no display, or it can't be drawn to.
   */
  PreviewWindow(const Renderer& renderer, const std::string& name, int width, int height, bool paced,
                std::function<bool()> stopped);
  PreviewWindow(const PreviewWindow&) = delete;
  PreviewWindow& operator=(const PreviewWindow&) = delete;

  /** Lets keys change the effect, which must outlive this object. */
  void SetEffect(Effect& effect) { parameters_.emplace(effect); }
  void SetTasks(PreviewTasks tasks) { tasks_ = std::move(tasks); }

  /**
   * Handles the window's events until the picture at that time in the clip, in seconds, is due, or one from elsewhere
   * is wanted, or the window was closed or the wait stopped.
   */
  Served WaitFor(double time);

  /** The same, with no picture to come. what: for the title. */
  Served Hold(const std::string& what);

  /** Where to go after kMove. */
  Move TakeMove();

  /** Shows a picture. Its texture must stay until the next is shown; it may be drawn to again. */
  void Show(const Texture& picture, double time);

  /** Shows a line over the picture for a while. */
  void Say(const std::string& line);

  bool Closed() const { return closed_; }

 private:
  void _TakeStrokes();
  void _Act(const KeyRow& row, int steps);
  void _MoveTo(const KeyRow& row, int steps);
  void _ChangeEffect(const KeyRow& row, int steps);
  void _OnPress(double x, double y);
  void _OnDrag(double x);
  /** Shows the task's line, or its error. */
  void _Answer(const std::function<std::string()>& task);
  KeyOffer _Offer() const;

  /** @return none when there is nothing but time to wait for. */
  std::optional<Served> _Serve(double timeout);
  void _Present();
  void _ShowInWindow(const Texture& texture);
  Place _Place() const;
  void _UpdateTitle(bool now);

  std::string name_, driver_, state_, title_;
  std::function<bool()> stopped_;
  NativeWindow window_;
  qvg::WndDrawer drawer_;
  Playback playback_;
  Overlay overlay_;
  Screen screen_;
  View view_;
  PreviewTasks tasks_;
  std::optional<ParameterKeys> parameters_;
  std::deque<Stroke> strokes_;
  std::optional<Move> move_;
  const Texture *picture_ = nullptr, *before_ = nullptr;
  double splitAt_ = 0.5;  // Share of the picture's width as it is seen.
  bool split_ = false, dragging_ = false;
  bool dirty_ = false, effectChanged_ = false, closed_ = false;
  double nextTitle_ = 0;
};

}  // namespace qvgtool
