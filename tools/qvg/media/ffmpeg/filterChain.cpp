#include "media/ffmpeg/filterChain.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/mem.h>
}

namespace qvgtool {
namespace {

struct FreeMemory {
  void operator()(void* memory) const { av_free(memory); }
};

bool MakeEnds(AVFilterGraph* graph, const AVFrame& like, AVRational timeBase, AVFilterContext*& source,
              AVFilterContext*& sink) {
  const bool sound = like.sample_rate > 0;
  source = avfilter_graph_alloc_filter(graph, avfilter_get_by_name(sound ? "abuffer" : "buffer"), "in");
  sink = avfilter_graph_alloc_filter(graph, avfilter_get_by_name(sound ? "abuffersink" : "buffersink"), "out");
  const std::unique_ptr<AVBufferSrcParameters, FreeMemory> format(av_buffersrc_parameters_alloc());
  if (!source || !sink || !format) throw std::bad_alloc();
  format->format = like.format;
  format->time_base = timeBase;
  format->width = like.width;
  format->height = like.height;
  format->sample_aspect_ratio = like.sample_aspect_ratio;
  format->sample_rate = like.sample_rate;
  if (sound && av_channel_layout_copy(&format->ch_layout, &like.ch_layout) < 0) throw std::bad_alloc();
  const int set = av_buffersrc_parameters_set(source, format.get());
  av_channel_layout_uninit(&format->ch_layout);
  return set >= 0 && avfilter_init_str(source, nullptr) >= 0 && avfilter_init_str(sink, nullptr) >= 0;
}

}  // namespace

std::unique_ptr<FilterChain> FilterChain::Make(const AVFrame& like, AVRational timeBase, const std::string& text) {
  auto chain = std::make_unique<FilterChain>();
  chain->graph_ = Checked(FilterGraphPtr(avfilter_graph_alloc()));
  AVFilterGraph* const graph = chain->graph_.get();
  if (!MakeEnds(graph, like, timeBase, chain->source_, chain->sink_)) return nullptr;
  AVFilterInOut* outputs = avfilter_inout_alloc();
  AVFilterInOut* inputs = avfilter_inout_alloc();
  if (!outputs || !inputs) throw std::bad_alloc();
  *outputs = {av_strdup("in"), chain->source_, 0, nullptr};
  *inputs = {av_strdup("out"), chain->sink_, 0, nullptr};
  const int parsed = avfilter_graph_parse_ptr(graph, text.c_str(), &inputs, &outputs, nullptr);
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  if (parsed < 0 || avfilter_graph_config(graph, nullptr) < 0) return nullptr;
  return chain;
}

bool FilterChain::Send(const AVFrame* frame) {
  if (!frame) return av_buffersrc_close(source_, AV_NOPTS_VALUE, 0) >= 0;
  return av_buffersrc_write_frame(source_, frame) >= 0;
}

AvFramePtr FilterChain::Take() {
  AvFramePtr frame = NewAvFrame();
  return av_buffersink_get_frame(sink_, frame.get()) >= 0 ? std::move(frame) : nullptr;
}

AVRational FilterChain::TimeBase() const { return av_buffersink_get_time_base(sink_); }

}  // namespace qvgtool
