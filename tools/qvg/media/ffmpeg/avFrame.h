// The tool's frames as FFmpeg's, and the other way round. Nothing is copied.
#pragma once

#include "media/ffmpeg/ffmpegPtr.h"
#include "media/frame.h"
#include "media/rational.h"

namespace qvgtool {

inline AVRational ToAv(Rational q) { return {q.num, q.den}; }
inline Rational FromAv(AVRational q) { return {q.num, q.den}; }

AVPixelFormat ToAv(PixelFormat format);
PixelFormat FromAv(AVPixelFormat format);

/** The format's name without what it says of the range: the scaler derives the range of some from it. */
AVPixelFormat PlainName(AVPixelFormat format);

/** Whether pictures of this format can be transparent somewhere. */
bool MayHaveAlpha(AVPixelFormat format);
/** Whether it has chroma of half the width. */
bool HasHalfChroma(AVPixelFormat format);

/** Lives in what FFmpeg holds of it, and the other way round. */
AvFramePtr ToAv(const Frame& frame);
FramePtr FromAv(AvFramePtr frame);

}  // namespace qvgtool
