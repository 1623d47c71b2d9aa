// Plays a clip's sound while the clip is shown. The backend implements it.
#pragma once

#include <memory>
#include <optional>

#include "media/frameSource.h"

namespace qvgtool {

class SoundOutput {
 public:
  virtual ~SoundOutput() = default;

  /** Without a device nothing is played. */
  virtual bool HasDevice() const = 0;
  /** From now on sound comes from this source, which has some, and begins at that time of it. shift: the clock's time
   * at the source's time 0. Both in seconds. Throws Error. */
  virtual void Begin(FrameSource& source, double time, double shift) = 0;
  /** Takes the sound that the source has read. Throws Error; nothing is played after that. */
  virtual void Take(FrameSource& source) = 0;
  /** Drops what was taken but not yet played. */
  virtual void Forget() = 0;
  /** Sets the clock; none stops it, and then nothing is played. */
  virtual void SetClock(std::optional<double> now) = 0;
};

/** null: the source has no sound. */
std::unique_ptr<SoundOutput> OpenSound(FrameSource& source);

}  // namespace qvgtool
