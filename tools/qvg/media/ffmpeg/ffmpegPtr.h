// Smart pointers for FFmpeg's objects.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <string>

#include "media/error.h"

namespace qvgtool {

template <auto Free>
struct FreeByAddress {
  template <class T>
  void operator()(T* object) const {
    Free(&object);
  }
};
template <auto Free>
struct FreeByValue {
  template <class T>
  void operator()(T* object) const {
    Free(object);
  }
};

using AvFramePtr = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
using PacketPtr = std::unique_ptr<AVPacket, FreeByAddress<av_packet_free>>;
using CodecContextPtr = std::unique_ptr<AVCodecContext, FreeByAddress<avcodec_free_context>>;
using InputPtr = std::unique_ptr<AVFormatContext, FreeByAddress<avformat_close_input>>;
using OutputPtr = std::unique_ptr<AVFormatContext, FreeByValue<avformat_free_context>>;
using ScalerPtr = std::unique_ptr<SwsContext, FreeByValue<sws_freeContext>>;
using FilterGraphPtr = std::unique_ptr<AVFilterGraph, FreeByAddress<avfilter_graph_free>>;

template <class Pointer>
Pointer Checked(Pointer pointer) {
  if (!pointer) throw std::bad_alloc();
  return pointer;
}
inline AvFramePtr NewAvFrame() { return Checked(AvFramePtr(av_frame_alloc())); }
inline PacketPtr NewPacket() { return Checked(PacketPtr(av_packet_alloc())); }

/** A frame with memory of its own. */
AvFramePtr NewAvFrame(AVPixelFormat format, int width, int height);

/** FFmpeg's text for a negative result, with the last line of its log if that adds something. */
std::string FfmpegError(int code);

/** The last error that a demuxer logged without failing, such as an early end of the file; else empty. */
std::string TakeDemuxerError();

}  // namespace qvgtool
