// Sound that is heard while a clip is shown. The backend implements it.
#pragma once

#include <memory>
#include <optional>

#include "media/frameSource.h"

namespace qvgtool {

class SoundOutput {
 public:
  virtual ~SoundOutput() = default;

  /** Without a device nothing is heard. */
  virtual bool HasDevice() const = 0;
  /** What follows is of this source, which has Sound, and lies behind that time of it. shift: what the clock shows at
   *  the source's time 0. Both in seconds. Throws Error. */
  virtual void Begin(FrameSource& source, double time, double shift) = 0;
  /** Takes what the source has met. Throws Error; afterwards nothing is heard any more. */
  virtual void Take(FrameSource& source) = 0;
  /** What was taken and not heard yet is left out. */
  virtual void Forget() = 0;
  /** What the clock shows now; none while it stands still, and nothing is heard. */
  virtual void SetClock(std::optional<double> now) = 0;
};

/** null: the source has no sound. */
std::unique_ptr<SoundOutput> OpenSound(FrameSource& source);

}  // namespace qvgtool
