// The entry points of this backend, and what it lacks.
#include <fmt/format.h>

#include "media/mediaLog.h"
#include "media/mediaReader.h"
#include "media/numberedNames.h"
#include "media/plain/imageReader.h"
#include "media/plain/writers.h"
#include "media/plain/y4mReader.h"
#include "media/soundOutput.h"
#include "platform/paths.h"

namespace qvgtool {

std::unique_ptr<FrameSource> OpenMedia(const std::string& path, const ReadOptions& options) {
  if (IsNumbered(path)) return std::make_unique<ImageReader>(path, options);
  ByteInput input(path, options.stop);
  if (input.BeginsWith(kY4mMagic)) return std::make_unique<Y4mReader>(std::move(input), options);
  return std::make_unique<ImageReader>(std::move(input));
}

std::unique_ptr<MediaWriter> MakeWriter(const std::string& path, const WriteOptions& options) {
  const std::string ending = NameOf(PathOf(path).extension());
  if (path == "-" || ending == ".y4m") return std::make_unique<Y4mWriter>(path, options);
  if (const ImageEncoder* encoder = FindImageEncoder(path)) {
    return std::make_unique<ImageWriter>(path, options, *encoder);
  }
  throw Error(fmt::format("{}: the name's ending says no format that can be written here (try .y4m or .png)", path));
}

std::vector<std::string> CaptureFormats() { return {}; }
std::unique_ptr<JoinedAccompaniment> Joined(const std::vector<Accompaniment*>&, Rational) { return nullptr; }
std::unique_ptr<SoundOutput> OpenSound(FrameSource&) { return nullptr; }
void CatchMediaLog(bool) {}

}  // namespace qvgtool
