#include "sheet.h"

#include <fmt/format.h>

#include <cstring>

#include "colorConversion.h"
#include "mediaWriter.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
#include <libavutil/pixdesc.h>
}

namespace qvgtool {
namespace {

constexpr uint8_t kPaper[3] = {24, 26, 31};

}  // namespace

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

FramePtr Upright(const AVFrame& frame, int quarterTurns) {
  static constexpr const char* kChains[] = {"null", "transpose=clock", "hflip,vflip", "transpose=cclock"};
  FramePtr turned = Filtered(frame, kChains[quarterTurns % 4]);
  if (!turned) throw Error("FFmpeg's filters that turn a picture are missing: " + FfmpegError(AVERROR(EINVAL)));
  // What is guessed from the number of lines would change with them.
  turned->colorspace = TagsOf(frame).matrix;
  return turned;
}

void Paste(const AVFrame& tile, AVFrame& picture, int x, int y) {
  for (int row = 0; row < tile.height; ++row) {
    std::memcpy(picture.data[0] + static_cast<ptrdiff_t>(y + row) * picture.linesize[0] + static_cast<ptrdiff_t>(x) * 3,
                tile.data[0] + static_cast<ptrdiff_t>(row) * tile.linesize[0], static_cast<size_t>(tile.width) * 3);
  }
}

Sheet::Sheet(int width, int height) : picture_(NewFrame(AV_PIX_FMT_RGB24, width, height)) {
  for (int y = 0; y < height; ++y) {
    uint8_t* row = picture_->data[0] + static_cast<ptrdiff_t>(y) * picture_->linesize[0];
    for (int x = 0; x < width * 3; ++x) row[x] = kPaper[x % 3];
  }
}

void Sheet::Paste(const AVFrame& tile, int x, int y) { qvgtool::Paste(tile, *picture_, x, y); }

void Sheet::Label(int x, int y, std::string text, int size) { labels_.push_back({x, y, size, std::move(text)}); }

void Sheet::Save(const std::string& path) {
  MediaWriter writer(path, {});
  if (!writer.SingleImage()) throw Error(path + ": the contact sheet must be an image, such as sheet.png");
  std::string chain;
  for (const Text& label : labels_) {
    chain +=
        fmt::format("{}drawtext=font=DejaVu Sans:fontsize={}:fontcolor=0xd8dbe2:expansion=none:x={}:y={}:text='{}'",
                    chain.empty() ? "" : ",", label.size, label.x, label.y, label.text);
  }
  if (FramePtr labelled = Filtered(*picture_, chain)) {
    picture_ = std::move(labelled);
  } else if (!chain.empty()) {
    fmt::print(stderr, "qvg: {} has no labels: {}\n", path, FfmpegError(AVERROR(ENOENT)));
  }
  picture_->pts = 0;
  VideoFormat format;
  format.width = picture_->width;
  format.height = picture_->height;
  writer.Open(format, *picture_, {});
  writer.Write(std::move(picture_));
  writer.Finish(false);
}

}  // namespace qvgtool
