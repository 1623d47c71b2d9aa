// A place in a clip that can move forwards and back.
#pragma once

#include <deque>
#include <memory>

#include "media/frameSource.h"

namespace qvgtool {

class ClipCursor {
 public:
  /** The cursor is before the first frame. */
  explicit ClipCursor(std::unique_ptr<FrameSource> source) : source_(std::move(source)) {}

  FrameSource& Source() const { return *source_; }

  /** The frame at the cursor; null before the first. */
  const Frame* Current() const { return _At(current_); }
  /** The frame after it; null at the end. Throws Error. */
  const Frame* Next();

  /** Moves to the next frame or the one before; forwards or back to a time: to the first frame at that time or later,
   *  else the last one. @return false, without moving, when there is none or the source can't seek. Throws Error. */
  bool Advance();
  bool GoBack();
  bool GoTo(double seconds);

  /** A frame's time in the clip, in seconds. */
  double TimeOf(const Frame& frame) const;

 private:
  const Frame* _At(size_t index) const { return index < frames_.size() ? frames_[index].get() : nullptr; }
  bool _Read();
  bool _GoBefore(double seconds);

  std::unique_ptr<FrameSource> source_;
  std::deque<FramePtr> frames_;  // Some before the cursor and some after it.
  size_t current_ = SIZE_MAX;
};

}  // namespace qvgtool
