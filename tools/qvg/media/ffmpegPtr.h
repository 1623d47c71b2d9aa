// Owners of FFmpeg's objects, and the one error type of the tool.
#pragma once

extern "C" {
#include <libavcodec/avcodec.h>
#include <libavfilter/avfilter.h>
#include <libavformat/avformat.h>
#include <libswscale/swscale.h>
}

#include <memory>
#include <stdexcept>
#include <string>

namespace qvgtool {

/** Ends a command: its text is the one line that the user sees. */
class Error : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

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

using FramePtr = std::unique_ptr<AVFrame, FreeByAddress<av_frame_free>>;
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
inline FramePtr NewFrame() { return Checked(FramePtr(av_frame_alloc())); }
inline PacketPtr NewPacket() { return Checked(PacketPtr(av_packet_alloc())); }

/** A frame with memory of its own. */
FramePtr NewFrame(AVPixelFormat format, int width, int height);

/** FFmpeg's text for a negative result, with the last thing that its log said, if that adds something. */
std::string FfmpegError(int code);

/** The last error that a demuxer logged without failing, such as an early end of the file; empty when none did. */
std::string TakeDemuxerError();

/** Keeps FFmpeg's own lines for FfmpegError() instead of printing them; verbose prints them too. */
void CatchFfmpegLog(bool verbose);

}  // namespace qvgtool
