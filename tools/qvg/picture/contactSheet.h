// One labelled picture with frames before and after, side by side.
#pragma once

#include <string>
#include <vector>

#include "media/colorConversion.h"
#include "media/frameSource.h"

namespace qvgtool {

class ContactSheet {
 public:
  /** total: the number of frames to come, 0 when unknown; the sheet shows a few, spread over them. */
  ContactSheet(std::string path, const VideoFormat& after, int64_t total);

  bool Wants(int64_t index) const;
  /** Takes copies. */
  void Add(const Frame& before, const Frame& after, double seconds);
  /** Writes the PNG. @return false without frames. Throws Error. */
  bool Save();

 private:
  struct Row {
    FramePtr before, after;
    double seconds;
  };
  FramePtr _Tile(const Frame& frame, int width, int height);

  std::string path_;
  int64_t total_;
  int tileWidth_, tileHeight_;
  std::vector<Row> rows_;
};

}  // namespace qvgtool
