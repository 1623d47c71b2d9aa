#include <fmt/format.h>

#include <algorithm>
#include <set>

#include "commands/command.h"
#include "commands/driver.h"
#include "picture/logCapture.h"
#include "picture/renderer.h"

namespace qvgtool {
namespace {

constexpr const char* kSoftwareRenderers[] = {"llvmpipe", "softpipe", "swrast", "SwiftShader", "Software"};

void Row(const char* title, const std::string& text) { fmt::print("{:<12}{}\n", title, text); }

// Lines of the platform about displays: "<prefix><display>: <what>", the chosen one as "<prefix>display: <display>
// ...".
void PrintDisplays(const std::vector<LogLine>& lines) {
  const std::string prefix = "glContext_egl: ", chosen = prefix + "display: ";
  bool first = true;
  for (const LogLine& line : lines) {
    if (!line.message.starts_with(chosen)) continue;
    Row("Display", line.message.substr(chosen.size()));
    first = false;
  }
  if (first) Row("Display", "none");
  first = true;
  for (const LogLine& line : lines) {
    const bool attempt = line.level != LogLine::kError && line.message.starts_with(prefix);
    if (!attempt || line.message.starts_with(chosen)) continue;
    Row(first ? "Passed over" : "", line.message.substr(prefix.size()));
    first = false;
  }
}

int Info(bool verbose) {
  int32_t major = 0, minor = 0, wantedMajor = 0, wantedMinor = 0;
  bool ready = false, enough = false;
  DriverTexts driver;
  std::vector<LogLine> lines;
  {
    LogCapture log;
    {
      const Renderer renderer;
      const QVGGLRendererInterface& gl = renderer.Table();
      ready = renderer.Ready();
      enough = gl.IsGLVersionSupported();
      gl.GetGLVersion(&major, &minor);
      gl.GetRequiredGLVersion(&wantedMajor, &wantedMinor);
      if (ready) driver = AskDriver();
    }
    // A start that failed is tried again by every slot that needs it.
    std::set<std::string> seen;
    for (const LogLine& line : log.Lines()) {
      if (verbose || seen.insert(line.message).second) lines.push_back(line);
    }
  }
  Row("Platform", "Linux, EGL");
  PrintDisplays(lines);
  if (ready) {
    const bool software =
        std::any_of(std::begin(kSoftwareRenderers), std::end(kSoftwareRenderers),
                    [&](const char* name) { return driver.renderer.find(name) != std::string::npos; });
    Row("Vendor", driver.vendor);
    Row("Renderer", driver.renderer);
    Row("", software ? "a software renderer: the CPU does the work" : "a GPU");
    Row("Version", driver.version);
    Row("GLSL", driver.glsl);
    Row("EGL", driver.eglVersion + ", " + driver.eglVendor);
  }
  Row("OpenGL", fmt::format("required {}.{}, found {}.{}: {}", wantedMajor, wantedMinor, major, minor,
                            enough  ? "enough"
                            : ready ? "not enough"
                                    : "the library could not start"));
  for (const LogLine& line : lines) {
    if (verbose) {
      fmt::print("log         {}\n", line.raw);
    } else if (line.level == LogLine::kError) {
      Row("Error", line.message);
    }
  }
  return ready && enough ? kDone : kFailed;
}

class InfoCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override { app.add_flag("--verbose", verbose_, "Prints the library's log as well"); }
  bool Verbose() const override { return verbose_; }
  int Run() override { return Info(verbose_); }

 private:
  bool verbose_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeInfo() { return std::make_unique<InfoCommand>(); }

}  // namespace qvgtool
