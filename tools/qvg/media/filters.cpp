#include "media/filters.h"

#include <fmt/format.h>

#include "media/colorConversion.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/avstring.h>
}

namespace qvgtool {

FramePtr Filtered(const AVFrame& frame, const std::string& chain) {
  const FilterGraphPtr graph = Checked(FilterGraphPtr(avfilter_graph_alloc()));
  AVFilterContext *source = nullptr, *sink = nullptr;
  const std::string format = fmt::format("video_size={}x{}:pix_fmt={}:time_base=1/1:pixel_aspect=1/1", frame.width,
                                         frame.height, frame.format);
  AVFilterGraph* g = graph.get();
  if (avfilter_graph_create_filter(&source, avfilter_get_by_name("buffer"), "in", format.c_str(), nullptr, g) < 0 ||
      avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr, g) < 0) {
    return nullptr;
  }
  AVFilterInOut* outputs = avfilter_inout_alloc();
  AVFilterInOut* inputs = avfilter_inout_alloc();
  if (!outputs || !inputs) throw std::bad_alloc();
  *outputs = {av_strdup("in"), source, 0, nullptr};
  *inputs = {av_strdup("out"), sink, 0, nullptr};
  const int parsed = avfilter_graph_parse_ptr(g, chain.c_str(), &inputs, &outputs, nullptr);
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  if (parsed < 0 || avfilter_graph_config(g, nullptr) < 0) return nullptr;
  FramePtr send = Checked(FramePtr(av_frame_clone(&frame)));
  send->pts = 0;
  FramePtr result = NewFrame();
  const bool done = av_buffersrc_add_frame(source, send.get()) >= 0 && av_buffersrc_close(source, 1, 0) >= 0 &&
                    av_buffersink_get_frame(sink, result.get()) >= 0;
  return done ? std::move(result) : nullptr;
}

std::string FilterText(const std::string& text) {
  std::string escaped = text;
  // For the list of a filter's options, and for the chain around it.
  for (const char* special : {":", ",;[]"}) {
    char* result = nullptr;
    if (av_escape(&result, escaped.c_str(), special, AV_ESCAPE_MODE_BACKSLASH, 0) < 0) throw std::bad_alloc();
    escaped = result;
    av_free(result);
  }
  return escaped;
}

FramePtr Upright(const AVFrame& frame, int quarterTurns) {
  static constexpr const char* kChains[] = {"null", "transpose=clock", "hflip,vflip", "transpose=cclock"};
  FramePtr turned = Filtered(frame, kChains[quarterTurns % 4]);
  if (!turned) throw Error("FFmpeg's filters that turn a picture are missing: " + FfmpegError(AVERROR(EINVAL)));
  // What is guessed from the number of lines would change with them.
  turned->colorspace = TagsOf(frame).matrix;
  return turned;
}

}  // namespace qvgtool
