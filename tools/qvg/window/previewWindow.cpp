#include "window/previewWindow.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <utility>

#include "picture/driver.h"

namespace qvgtool {
namespace {

constexpr double kTitleEvery = 0.25;  // Seconds.
// Longest sleep: a signal does not wake the window.
constexpr double kLongestWait = 0.2;
constexpr double kLineStays = 2.5;
constexpr int kShiftFactor = 10;
constexpr double kGrip = 12;  // Pixels on each side of the split's line.

}  // namespace

PreviewWindow::PreviewWindow(const Renderer& renderer, const std::string& name, int width, int height, bool paced,
                             std::function<bool()> stopped)
    : name_(name),
      driver_(AskDriver().renderer),
      stopped_(std::move(stopped)),
      window_("qvg: " + name, width, height),
      drawer_(qvg::WndDrawer::On(window_.Handle())),
      playback_(paced),
      overlay_(renderer),
      screen_(renderer) {
  if (!drawer_) throw Error("no preview: the library can't draw into a window of this display");
  view_.width = width;
  view_.height = height;
  window_.Listen({.refresh = [this] { dirty_ = true; },
                  .stroke = [this](const Stroke& stroke) { strokes_.push_back(stroke); },
                  .press = [this](double x, double y) { _OnPress(x, y); },
                  .drag = [this](double x, double) { _OnDrag(x); },
                  .release = [this] { dragging_ = false; }});
}

KeyOffer PreviewWindow::_Offer() const {
  return {.effect = parameters_.has_value(), .travel = tasks_.travel, .tasks = tasks_.print != nullptr};
}

void PreviewWindow::_TakeStrokes() {
  for (; !strokes_.empty(); strokes_.pop_front()) {
    const Stroke stroke = strokes_.front();
    const KeyRow* row = FindKey(stroke);
    if (!row) continue;
    // It acts on a picture that is still to be drawn.
    if (playback_.Stepping() || (move_ && row->needs != &KeyOffer::travel) ||
        (effectChanged_ && row->needs == &KeyOffer::tasks)) {
      return;
    }
    if (_Offer().*row->needs) {
      const bool far = stroke.shift && (row->action == KeyAction::kSeek || row->action == KeyAction::kChange);
      _Act(*row, row->amount * (far ? kShiftFactor : 1));
    } else if (row->needs == &KeyOffer::effect) {
      Say("no effect in use");
    }
    dirty_ = true;
    _UpdateTitle(true);
  }
}

void PreviewWindow::_Act(const KeyRow& row, int steps) {
  switch (row.action) {
    case KeyAction::kPause:
    case KeyAction::kStep:
    case KeyAction::kSeek:
    case KeyAction::kStart:
      return _MoveTo(row, steps);
    case KeyAction::kChoose:
    case KeyAction::kChange:
    case KeyAction::kDefault:
    case KeyAction::kStage:
      return _ChangeEffect(row, steps);
    case KeyAction::kSplit:
      split_ = !split_;
      return Say(split_ ? "left: as it comes in, right: with the effect" : "the effect everywhere");
    case KeyAction::kPrint:
      return _Answer(tasks_.print);
    case KeyAction::kSave:
      return _Answer(tasks_.save);
    case KeyAction::kTurn:
      view_.quarterTurns = (view_.quarterTurns + 1) % 4;
      return;
    case KeyAction::kFlip:
      view_.flipped = !view_.flipped;
      view_.quarterTurns = (4 - view_.quarterTurns) % 4;  // Keeps the flip vertical as the user sees it.
      return;
    case KeyAction::kFullScreen:
      return window_.ToggleFullScreen();
    case KeyAction::kHelp:
      return overlay_.SetHelp(overlay_.Helps() ? "" : KeyHelp(_Offer()));
    case KeyAction::kLeave:
      if (window_.FullScreen()) return window_.ToggleFullScreen();
      [[fallthrough]];
    case KeyAction::kClose:
      closed_ = true;
  }
}

void PreviewWindow::_MoveTo(const KeyRow& row, int steps) {
  const bool held = !state_.empty(), atEnd = held && tasks_.travel;
  if (row.action == KeyAction::kStep && steps > 0) return held ? void() : playback_.Step();
  if (row.action == KeyAction::kPause && !atEnd) return playback_.TogglePause();
  if (!move_) move_.emplace();
  if (row.action == KeyAction::kSeek) {
    move_->seconds += steps;
  } else if (row.action == KeyAction::kStep) {
    move_->framesBack -= steps;
    playback_.Pause();
  } else {
    *move_ = {.toStart = true};
    if (row.action == KeyAction::kPause && playback_.Paused()) playback_.TogglePause();
  }
}

void PreviewWindow::_ChangeEffect(const KeyRow& row, int steps) {
  _Answer([&] {
    if (row.action == KeyAction::kChoose) return parameters_->Choose(steps);
    effectChanged_ = true;
    if (row.action == KeyAction::kChange) return parameters_->Change(steps);
    if (row.action == KeyAction::kDefault) return parameters_->SetDefault();
    return parameters_->SwitchStage(static_cast<size_t>(steps));
  });
}

void PreviewWindow::_Answer(const std::function<std::string()>& task) {
  try {
    Say(task());
  } catch (const Error& error) {
    Say(error.what());
  }
}

void PreviewWindow::Say(const std::string& line) {
  overlay_.Say(line, NativeWindow::Now() + kLineStays);
  dirty_ = true;
}

void PreviewWindow::_OnPress(double x, double y) {
  const Place place = _Place();
  const bool wantsColor = tasks_.pick && parameters_ && parameters_->WantsColor();
  dragging_ = split_ && (!wantsColor || std::abs(x - (place.x + splitAt_ * place.width)) < kGrip);
  if (dragging_) return _OnDrag(x);
  const auto point = PointOf(view_, place, x, y);
  if (!wantsColor || !point) return;
  _Answer([&] { return tasks_.pick(point->first, point->second); });
  effectChanged_ = true;
}

void PreviewWindow::_OnDrag(double x) {
  if (!dragging_) return;
  const Place place = _Place();
  splitAt_ = std::clamp((x - place.x) / std::max(1, place.width), 0.0, 1.0);
  dirty_ = true;
}

Place PreviewWindow::_Place() const {
  const auto [width, height] = window_.Size();
  return PlaceOf(view_, width, height);
}

void PreviewWindow::_UpdateTitle(bool now) {
  if (!now && NativeWindow::Now() < nextTitle_) return;
  nextTitle_ = NativeWindow::Now() + kTitleEvery;
  std::string title = "qvg: " + name_;
  if (!state_.empty()) {
    title += ", " + state_;
  } else if (playback_.Paused()) {
    title += ", paused";
  } else if (const double rate = playback_.Rate(); rate > 0) {
    title += fmt::format(", {:.1f} frames/s", rate);
  }
  const std::string stages = parameters_ ? parameters_->StagesOn() : "";
  title += stages.empty() ? ", no effect" : ", effect: " + stages;
  title += ", h: help, " + driver_;
  if (title == title_) return;
  title_ = title;
  window_.SetTitle(title);
}

std::optional<Served> PreviewWindow::_Serve(double timeout) {
  closed_ = !window_.Serve(timeout) || closed_;
  if (!closed_) _TakeStrokes();
  if (tasks_.clock) tasks_.clock(playback_.TimeAt(NativeWindow::Now()));
  if (closed_ || stopped_()) return Served::kEnd;
  if (move_) return Served::kMove;
  if (overlay_.Expire(NativeWindow::Now())) dirty_ = true;
  if (std::exchange(effectChanged_, false)) {
    tasks_.redraw();
    dirty_ = true;
  }
  if (dirty_) _Present();
  _UpdateTitle(false);
  return closed_ ? std::optional(Served::kEnd) : std::nullopt;
}

Served PreviewWindow::WaitFor(double time) {
  for (double timeout = 0;;) {
    if (const auto served = _Serve(timeout)) return *served;
    const auto delay = playback_.Delay(time, NativeWindow::Now());
    if (delay && *delay <= 0) return Served::kDue;
    timeout = std::min(delay.value_or(kLongestWait), kLongestWait);
  }
}

Served PreviewWindow::Hold(const std::string& what) {
  state_ = what;
  _UpdateTitle(true);
  std::optional<Served> served;
  while (!served) served = _Serve(kLongestWait);
  state_.clear();
  return *served;
}

Move PreviewWindow::TakeMove() {
  playback_.Jump();
  return std::exchange(move_, std::nullopt).value_or(Move{});
}

void PreviewWindow::Show(const Texture& picture, double time) {
  picture_ = &picture;
  before_ = nullptr;
  _Present();
  playback_.Shown(time, NativeWindow::Now());
  _UpdateTitle(false);
}

void PreviewWindow::_Present() {
  dirty_ = false;
  const auto [width, height] = window_.Size();
  if (!picture_ || width < 1 || height < 1) return;
  drawer_.SetSize(static_cast<uint32_t>(width), static_cast<uint32_t>(height));
  const Texture& text = overlay_.Draw(width, height);
  const bool split = split_ && tasks_.before;
  if (split || text) {
    if (split && !before_) before_ = &tasks_.before();
    const Place place = _Place();
    const int column = place.x + static_cast<int>(std::lround(splitAt_ * place.width));
    return _ShowInWindow(screen_.Compose(width, height, view_, *picture_, split ? before_ : nullptr, column, text));
  }
  const uint32_t turns = picture_->Rotation();
  const bool flipped = picture_->Flipped();
  const unsigned wanted = view_.quarterTurns;
  picture_->SetRotation((view_.flipped ? 4 - turns % 4 + wanted : turns + wanted) % 4);
  picture_->SetFlipped(flipped != view_.flipped);
  _ShowInWindow(*picture_);
  picture_->SetRotation(turns);
  picture_->SetFlipped(flipped);
}

void PreviewWindow::_ShowInWindow(const Texture& texture) {
  qvg::Finish();  // The window's context samples what this context has drawn.
  {
    const qvg::CurrentContext current(drawer_.ContextHandle());
    closed_ = !current || closed_;  // A window that vanished under its drawer counts as closed.
    if (current) {
      drawer_.Draw(texture);
      qvg::Finish();  // The next picture may overwrite the texture.
    }
  }
  if (qvg::Table().GetCurrentContext() == nullptr) {
    throw Error("the renderer's context could not be made current again");
  }
}

}  // namespace qvgtool
