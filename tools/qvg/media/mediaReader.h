// Media files and streams as sources of frames. The backend implements it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "media/frameSource.h"

namespace qvgtool {

struct CaptureOptions {
  std::string size, rate;  // As the user wrote them; empty: the device's defaults.
};

struct ReadOptions {
  double from = 0;  // Seconds into the input.
  bool sound = true;
  bool exactly = true;  // Starts with the frame at that time; else with the one before it that is quickest to reach.
  bool subtitles = false;
  bool deinterlace = true;
  double imageRate = 0;                        // Numbered images per second; 0: 25.
  std::optional<CaptureOptions> capture = {};  // The path is a device's, FORMAT:NAME.
  bool (*stop)() = nullptr;                    // Asked while waiting for the input: whether to treat it as ended.
};

/** "-" reads standard input. Throws Error when the path can't be opened or holds no picture. */
std::unique_ptr<FrameSource> OpenMedia(const std::string& path, const ReadOptions& options);

/** The formats of video devices that can be captured from, with the names that they go by: "video4linux2,v4l2". */
std::vector<std::string> CaptureFormats();

/** The accompaniment of clips that are shown one after the other. */
class JoinedAccompaniment {
 public:
  virtual ~JoinedAccompaniment() = default;

  /** null: none of them has any. */
  virtual Accompaniment* All() = 0;
  /** Goes on to the next clip, whose pictures begin at that time. */
  virtual void GoOn(int64_t next) = 0;
};

/** clips: in order, null for those without accompaniment; unit: of the pictures' times. */
std::unique_ptr<JoinedAccompaniment> Joined(const std::vector<Accompaniment*>& clips, Rational unit);

}  // namespace qvgtool
