#include "contactSheet.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>
#include <cstring>

#include "mediaWriter.h"

extern "C" {
#include <libavfilter/buffersink.h>
#include <libavfilter/buffersrc.h>
}

namespace qvgtool {
namespace {

constexpr int kColumns = 3, kTileWidth = 480, kGap = 16, kLabelHeight = 34;
constexpr uint8_t kPaper[3] = {24, 26, 31};

struct Label {
  int x, y;
  std::string text;
};

void Paste(const AVFrame& tile, AVFrame& sheet, int x, int y) {
  for (int row = 0; row < tile.height; ++row) {
    std::memcpy(sheet.data[0] + static_cast<ptrdiff_t>(y + row) * sheet.linesize[0] + static_cast<ptrdiff_t>(x) * 3,
                tile.data[0] + static_cast<ptrdiff_t>(row) * tile.linesize[0], static_cast<size_t>(tile.width) * 3);
  }
}

// The sheet with its labels; without a font on the machine, as it was.
FramePtr Labelled(FramePtr sheet, const std::vector<Label>& labels) {
  std::string chain;
  for (const Label& label : labels) {
    chain +=
        fmt::format("{}drawtext=font=DejaVu Sans:fontsize=19:fontcolor=0xd8dbe2:expansion=none:x={}:y={}:text='{}'",
                    chain.empty() ? "" : ",", label.x, label.y, label.text);
  }
  const FilterGraphPtr graph = Checked(FilterGraphPtr(avfilter_graph_alloc()));
  AVFilterContext *source = nullptr, *sink = nullptr;
  const std::string format = fmt::format("video_size={}x{}:pix_fmt={}:time_base=1/1:pixel_aspect=1/1", sheet->width,
                                         sheet->height, sheet->format);
  AVFilterGraph* g = graph.get();
  if (avfilter_graph_create_filter(&source, avfilter_get_by_name("buffer"), "in", format.c_str(), nullptr, g) < 0 ||
      avfilter_graph_create_filter(&sink, avfilter_get_by_name("buffersink"), "out", nullptr, nullptr, g) < 0) {
    return sheet;
  }
  AVFilterInOut* outputs = avfilter_inout_alloc();
  AVFilterInOut* inputs = avfilter_inout_alloc();
  if (!outputs || !inputs) throw std::bad_alloc();
  *outputs = {av_strdup("in"), source, 0, nullptr};
  *inputs = {av_strdup("out"), sink, 0, nullptr};
  const int parsed = avfilter_graph_parse_ptr(g, chain.c_str(), &inputs, &outputs, nullptr);
  avfilter_inout_free(&inputs);
  avfilter_inout_free(&outputs);
  FramePtr labelled = NewFrame();
  const bool done = parsed >= 0 && avfilter_graph_config(g, nullptr) >= 0 &&
                    av_buffersrc_write_frame(source, sheet.get()) >= 0 &&
                    av_buffersink_get_frame(sink, labelled.get()) >= 0;
  if (done) return labelled;
  fmt::print(stderr, "qvg: contact sheet without labels: {}\n", FfmpegError(std::min(parsed, AVERROR(ENOENT))));
  return sheet;
}

}  // namespace

ContactSheet::ContactSheet(std::string path, const VideoFormat& after, int64_t total)
    : path_(std::move(path)), total_(total), tileWidth_(kTileWidth) {
  tileHeight_ = std::clamp(static_cast<int>(std::lround(static_cast<double>(kTileWidth) * after.height / after.width)),
                           kTileWidth / 4, kTileWidth * 2);
}

bool ContactSheet::Wants(int64_t index) const {
  const auto taken = static_cast<int64_t>(columns_.size());
  if (taken >= kColumns) return false;
  return index >= (total_ > 0 ? total_ * (2 * taken + 1) / (2 * kColumns) : taken * 25);
}

FramePtr ContactSheet::_Tile(const AVFrame& frame, int width, int height) {
  const double scale = std::min(static_cast<double>(width) / frame.width, static_cast<double>(height) / frame.height);
  const int innerWidth = std::max(1, static_cast<int>(frame.width * scale));
  const int innerHeight = std::max(1, static_cast<int>(frame.height * scale));
  ColorConverter converter;
  const AVFrame& inner =
      converter.Convert(frame, AV_PIX_FMT_RGB24, innerWidth, innerHeight, {.rgb = true, .fullRange = true});
  FramePtr tile = NewFrame(AV_PIX_FMT_RGB24, width, height);
  std::memset(tile->data[0], 0, static_cast<size_t>(tile->linesize[0]) * static_cast<size_t>(height));
  Paste(inner, *tile, (width - innerWidth) / 2, (height - innerHeight) / 2);
  return tile;
}

void ContactSheet::Add(const AVFrame& before, const AVFrame& after, double seconds) {
  columns_.push_back({_Tile(before, tileWidth_, tileHeight_), _Tile(after, tileWidth_, tileHeight_), seconds});
}

bool ContactSheet::Save() {
  if (columns_.empty()) return false;
  const int columns = static_cast<int>(columns_.size()), rowHeight = tileHeight_ + kLabelHeight + kGap;
  VideoFormat format;
  format.width = columns * (tileWidth_ + kGap) + kGap;
  format.height = 2 * rowHeight + kGap;
  FramePtr sheet = NewFrame(AV_PIX_FMT_RGB24, format.width, format.height);
  for (int y = 0; y < format.height; ++y) {
    uint8_t* row = sheet->data[0] + static_cast<ptrdiff_t>(y) * sheet->linesize[0];
    for (int x = 0; x < format.width * 3; ++x) row[x] = kPaper[x % 3];
  }
  std::vector<Label> labels;
  for (int i = 0; i < columns; ++i) {
    const Column& column = columns_[static_cast<size_t>(i)];
    const int x = kGap + i * (tileWidth_ + kGap);
    Paste(*column.before, *sheet, x, kGap);
    Paste(*column.after, *sheet, x, kGap + rowHeight);
    labels.push_back({x + 2, kGap + tileHeight_ + 9, fmt::format("before   {:.2f} s", column.seconds)});
    labels.push_back({x + 2, kGap + rowHeight + tileHeight_ + 9, fmt::format("after   {:.2f} s", column.seconds)});
  }
  sheet->pts = 0;
  sheet = Labelled(std::move(sheet), labels);
  MediaWriter writer(path_, {});
  if (!writer.SingleImage()) throw Error(path_ + ": the contact sheet must be an image, such as sheet.png");
  writer.Open(format, *sheet, {});
  writer.Write(std::move(sheet));
  writer.Finish(false);
  return true;
}

}  // namespace qvgtool
