// Media files and streams as sources of frames. The backend implements it.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "media/frameSource.h"

namespace qvgtool {

struct CaptureOptions {
  std::string size, rate;  // As the user wrote them; empty: the device's own.
};

struct ReadOptions {
  double from = 0;  // Seconds into the input.
  bool sound = true;
  bool exactly = true;  // Starts with the frame of that time, else with the one before it that is quickly there.
  bool subtitles = false;
  bool deinterlace = true;
  double imageRate = 0;                        // Of numbered images, a second; 0: 25.
  std::optional<CaptureOptions> capture = {};  // The path is a device's, FORMAT:NAME.
  bool (*stop)() = nullptr;  // Asked while the input keeps it waiting: whether to take that for the end.
};

/** "-" reads standard input. Throws Error when the path can't be opened or holds no picture. */
std::unique_ptr<FrameSource> OpenMedia(const std::string& path, const ReadOptions& options);

/** The formats of video devices that can be captured from, with the names that they go by: "video4linux2,v4l2". */
std::vector<std::string> CaptureFormats();

/** What goes along with clips that are shown one after the other. */
class JoinedAccompaniment {
 public:
  virtual ~JoinedAccompaniment() = default;

  /** null: nothing goes along with any of them. */
  virtual Accompaniment* All() = 0;
  /** The pictures of the current clip have ended; those of the next one begin at that time. */
  virtual void GoOn(int64_t next) = 0;
};

/** clips: in their order, null for those without; unit: of the pictures' times. */
std::unique_ptr<JoinedAccompaniment> Joined(const std::vector<Accompaniment*>& clips, Rational unit);

}  // namespace qvgtool
