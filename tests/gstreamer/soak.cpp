// soak [--seconds N]: the plugin's elements in a live pipeline whose caps, properties and sources change all the time.
// What the process holds must stay as it is after the first part of that.
#include <gst/gst.h>
#include <malloc.h>
#include <unistd.h>

#include <algorithm>
#include <array>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <string>

namespace {

constexpr const char* kFormats[] = {"NV12", "I420", "P010_10LE", "RGBA", "BGRx", "RGB", "Y444"};
constexpr int kSizes[][2] = {{320, 240}, {640, 360}, {200, 150}, {854, 480}};
constexpr const char* kColors[] = {"bt601", "bt709", "1:4:5:1"};

// With a display the sink is there, too.
std::string Pipeline(bool display) {
  return std::string(
             "videotestsrc is-live=true pattern=smpte ! capsfilter name=size ! qvgeffect name=effect color=65280 ! "
             "queue ! "
             "mix.sink_0 videotestsrc is-live=true pattern=ball ! video/x-raw,format=RGBA,width=160,height=120 ! queue "
             "! "
             "mix.sink_1 qvgcompositor name=mix sink_1::opacity=0.7 ! capsfilter name=out ! tee name=all ! queue ! ") +
         (display ? "qvgsink all. ! queue ! fakesink" : "fakesink");
}

struct Held {
  size_t megabytes, descriptors, threads;
};

Held Measure() {
  malloc_trim(0);
  size_t pages = 0, resident = 0;
  std::ifstream("/proc/self/statm") >> pages >> resident;
  const auto count = [](const char* folder) {
    return static_cast<size_t>(
        std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator()));
  };
  return {resident * static_cast<size_t>(getpagesize()) >> 20, count("/proc/self/fd"), count("/proc/self/task")};
}

class Soak {
 public:
  explicit Soak(bool display) : pipeline_(gst_parse_launch(Pipeline(display).c_str(), nullptr)) {
    if (pipeline_ == nullptr) return;
    Change();
    gst_element_set_state(pipeline_, GST_STATE_PLAYING);
  }
  ~Soak() {
    if (pipeline_ == nullptr) return;
    gst_element_set_state(pipeline_, GST_STATE_NULL);
    gst_object_unref(pipeline_);
  }
  Soak(const Soak&) = delete;
  Soak& operator=(const Soak&) = delete;

  /// Half a second of it. False when the bus has an error, which is printed.
  bool Run() {
    if (pipeline_ == nullptr) return false;
    Change();
    if (++round_ % 16 == 0) {
      gst_element_set_state(pipeline_, GST_STATE_NULL);
      gst_element_set_state(pipeline_, GST_STATE_PLAYING);
    }
    GstBus* bus = gst_element_get_bus(pipeline_);
    GstMessage* message = gst_bus_timed_pop_filtered(bus, GST_SECOND / 2, GST_MESSAGE_ERROR);
    gst_object_unref(bus);
    if (message == nullptr) return true;
    GError* error = nullptr;
    gchar* debug = nullptr;
    gst_message_parse_error(message, &error, &debug);
    std::printf("%s\n%s\n", error->message, debug);
    g_error_free(error);
    g_free(debug);
    gst_message_unref(message);
    return false;
  }

 private:
  void Set(const char* element, const char* property, const std::string& value) {
    GstElement* found = gst_bin_get_by_name(GST_BIN(pipeline_), element);
    gst_util_set_object_arg(G_OBJECT(found), property, value.c_str());
    gst_object_unref(found);
  }

  void Change() {
    const auto& [width, height] = kSizes[round_ % std::size(kSizes)];
    const char* const format = kFormats[round_ % std::size(kFormats)];
    const bool yuv = std::strncmp(format, "RGB", 3) != 0 && std::strncmp(format, "BGR", 3) != 0;
    Set("size", "caps",
        std::string("video/x-raw,framerate=30/1,format=") + format + ",width=" + std::to_string(width) +
            ",height=" + std::to_string(height) +
            (yuv ? std::string(",colorimetry=(string)") + kColors[round_ % std::size(kColors)] : std::string()));
    Set("out", "caps",
        round_ % 3 == 0   ? "video/x-raw,format=RGBA"
        : round_ % 3 == 1 ? "video/x-raw,format=NV12"
                          : "ANY");
    Set("effect", "bright", std::to_string(round_ % 50));
    Set("effect", "blur", std::to_string(round_ % 2 * 20));
    Set("effect", "enable-key", round_ % 5 == 0 ? "false" : "true");
  }

  GstElement* pipeline_;
  size_t round_ = 0;
};

}  // namespace

int main(int argc, char** argv) {
  const long seconds = argc == 3 && std::strcmp(argv[1], "--seconds") == 0 ? std::atol(argv[2]) : 60;
  gst_init(nullptr, nullptr);
  GstPlugin* plugin = gst_plugin_load_file(QVG_GST_PLUGIN, nullptr);
  if (plugin == nullptr) return 2;
  gst_object_unref(plugin);

  // Everything has come round once by then: programs are compiled, pools are filled.
  const long first = std::max(seconds / 2, long{40}), rounds = std::max(2 * seconds, first + 20);
  Held begin = {}, end = {};
  {
    Soak soak(std::getenv("DISPLAY") != nullptr);
    for (long round = 0; round < rounds; ++round) {
      if (!soak.Run()) return 1;
      if (round == first) begin = Measure();
      if (round % 120 == 119) {
        const Held now = Measure();
        std::printf("%ld s: %zu MiB, %zu descriptors, %zu threads\n", (round + 1) / 2, now.megabytes, now.descriptors,
                    now.threads);
        std::fflush(stdout);
      }
    }
    end = Measure();
  }
  const Held idle = Measure();
  std::printf("%zu MiB after the first part, %zu at the end; %zu and %zu descriptors; %zu threads left\n",
              begin.megabytes, end.megabytes, begin.descriptors, end.descriptors, idle.threads);
  // A frame of any size more or less in a queue is no growth.
  const bool grown =
      end.megabytes > begin.megabytes + begin.megabytes / 10 + 16 || end.descriptors > begin.descriptors + 4;
  return grown ? 1 : 0;
}
