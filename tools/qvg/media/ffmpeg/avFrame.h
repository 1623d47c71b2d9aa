// Converts between the tool's frames and FFmpeg's. No pixels are copied.
#pragma once

#include "media/ffmpeg/ffmpegPtr.h"
#include "media/frame.h"
#include "media/rational.h"

namespace qvgtool {

inline AVRational ToAv(Rational q) { return {q.num, q.den}; }
inline Rational FromAv(AVRational q) { return {q.num, q.den}; }

AVPixelFormat ToAv(PixelFormat format);
PixelFormat FromAv(AVPixelFormat format);

/** The format of the same layout that doesn't imply a range: the scaler would derive the range from it. */
AVPixelFormat PlainName(AVPixelFormat format);

/** Whether pictures of this format can be transparent somewhere. */
bool MayHaveAlpha(AVPixelFormat format);
/** Whether its chroma has half the width. */
bool HasHalfChroma(AVPixelFormat format);

/** The result keeps the frame's memory alive, in both directions. */
AvFramePtr ToAv(const Frame& frame);
FramePtr FromAv(AvFramePtr av);

}  // namespace qvgtool
