// Samples of frames from all over a clip, for what has to be known before the first one is drawn.
#pragma once

#include <deque>
#include <string>
#include <vector>

#include "media/mediaReader.h"

namespace qvgtool {

/** An upright RGBA copy. Throws Error. */
FramePtr Sample(const Frame& frame, int quarterTurns);

/** Such copies of some frames from the beginning to the end of a file, through readers of their own. Throws Error. */
std::vector<FramePtr> SamplesOf(const std::string& path, const ReadOptions& options);

/** A source whose first frames can be sampled before they are read: for streams, which can't be read twice. */
class ReadAhead : public FrameAdapter {
 public:
  using FrameAdapter::FrameAdapter;

  /** Upright RGBA copies of some of the next frames. Throws Error. */
  std::vector<FramePtr> Samples();

  FramePtr Read() override;

 private:
  std::deque<FramePtr> frames_;
};

}  // namespace qvgtool
