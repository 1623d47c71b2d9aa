#include <fmt/format.h>

#include <algorithm>
#include <cstdlib>
#include <set>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "commands/command.h"
#include "commands/json.h"
#include "media/mediaReader.h"
#include "picture/driver.h"
#include "picture/logCapture.h"
#include "picture/renderer.h"
#include "platform/console.h"
#include "selftest/platform.h"

namespace qvgtool {
namespace {

constexpr const char* kSoftwareRenderers[] = {"llvmpipe", "softpipe", "swrast", "SwiftShader", "Software"};

struct Findings {
  std::string display;  // Empty: none.
  std::vector<std::string> passedOver, errors, devices;
  bool ready = false, enough = false, software = false;
  DriverTexts driver;   // When ready.
  DriverTexts offered;  // When not: what EGL would offer.
  std::string required, found;
  std::vector<LogLine> log;
};

// The library logs EGL's errors as numbers.
std::string WithErrorName(std::string text) {
  constexpr std::string_view kBefore = "error 0x";
  const size_t found = text.find(kBefore);
  if (found == std::string::npos) return text;
  size_t digits = 0;
  const size_t begin = found + kBefore.size();
  const unsigned long code = std::stoul(text.substr(begin), &digits, 16);
  return text.replace(begin - 2, digits + 2, DriverErrorText(static_cast<unsigned>(code)));
}

// The platform's lines about displays are "<prefix><display>: <what>", and for the one that was chosen
// "<prefix>display: <display> ...".
void SortLines(Findings& findings, bool repeated) {
  const std::string prefix = Platform().logPrefix, chosen = prefix + "display: ";
  std::vector<LogLine> lines = std::move(findings.log);
  findings.log.clear();
  // Every slot that needs the library started retries a failed start, and logs the same lines again.
  std::set<std::string> seen;
  for (const LogLine& line : lines) {
    if (!seen.insert(line.message).second && !repeated) continue;
    findings.log.push_back(line);
    if (line.level == LogLine::kError) {
      findings.errors.push_back(line.message);
    } else if (line.message.starts_with(chosen)) {
      findings.display = line.message.substr(chosen.size());
    } else if (line.message.starts_with(prefix)) {
      findings.passedOver.push_back(WithErrorName(line.message.substr(prefix.size())));
    }
  }
}

Findings Find(bool verbose) {
  Findings findings;
  ForgetVariable("QVG_LOG_LEVEL");  // The findings come from the library's log.
  {
    LogCapture log;
    {
      const Renderer renderer;
      const QVGGLRendererInterface& gl = qvg::Table();
      int32_t major = 0, minor = 0;
      findings.ready = renderer.Ready();
      findings.enough = gl.IsGLVersionSupported();
      gl.GetGLVersion(&major, &minor);
      findings.found = fmt::format("{}.{}", major, minor);
      gl.GetRequiredGLVersion(&major, &minor);
      findings.required = fmt::format("{}.{}", major, minor);
      if (findings.ready) findings.driver = AskDriver();
    }
    findings.devices = selftest::DeviceNames();
    // When a display has been chosen, what others offer is irrelevant.
    if (!findings.ready && !std::getenv("QVG_CONTEXT")) findings.offered = AskOfferedDriver();
    if (const std::string& offered = findings.offered.version; !offered.empty()) {
      findings.found = offered.substr(0, offered.find(' '));
    }
    findings.log = log.Lines();
  }
  SortLines(findings, verbose);
  findings.software = std::any_of(std::begin(kSoftwareRenderers), std::end(kSoftwareRenderers), [&](const char* name) {
    return findings.driver.renderer.find(name) != std::string::npos;
  });
  return findings;
}

// What to check when there is no driver, or one that is too old.
std::vector<std::string> Hints(const Findings& findings) {
  if (findings.ready && findings.enough) return {};
  std::vector<std::string> hints;
  for (const char* name : Platform().variables) {
    const char* const value = std::getenv(name);
    if (value != nullptr) hints.push_back(fmt::format("{} is set to \"{}\": try without it", name, value));
  }
  hints.emplace_back(Platform().hint);
  return hints;
}

void PrintText(const Findings& findings, bool verbose) {
  const auto row = [](const char* title, const std::string& text) { fmt::print("{:<12}{}\n", title, text); };
  const auto rows = [&](const char* title, const std::vector<std::string>& texts) {
    for (const std::string& text : texts) row(std::exchange(title, ""), text);
  };
  const DriverTexts& driver = findings.driver;
  row("Platform", Platform().name);
  if (Platform().displays) row("Display", findings.display.empty() ? "none" : findings.display);
  rows("Passed over", findings.passedOver);
  if (findings.ready) {
    row("Vendor", driver.vendor);
    row("Renderer", driver.renderer);
    row("", findings.software ? "a software renderer: the CPU does the work" : "a GPU");
    row("Version", driver.version);
    row("GLSL", driver.glsl);
    if (!driver.eglVersion.empty()) row("EGL", driver.eglVersion + ", " + driver.eglVendor);
  }
  const DriverTexts& offered = findings.offered;
  if (!offered.version.empty()) row("Offered", fmt::format("OpenGL {}, {}", offered.version, offered.renderer));
  row("OpenGL", fmt::format("required {}, found {}: {}", findings.required, findings.found,
                            findings.enough           ? "enough"
                            : findings.found != "0.0" ? "not enough"
                                                      : "the library could not start"));
  for (size_t i = 0; i < findings.devices.size(); ++i)
    row(i == 0 ? "Devices" : "", fmt::format("device:{}  {}", i, findings.devices[i]));
  const std::vector<std::string> formats = CaptureFormats();
  if (!formats.empty()) row("Capture", fmt::format("{}", fmt::join(formats, " ")));
  if (!verbose) rows("Error", findings.errors);
  rows("Hint", Hints(findings));
  for (const LogLine& line : findings.log) {
    if (verbose) row("log", line.raw);
  }
}

void PrintJson(const Findings& findings) {
  const auto list = [](const std::vector<std::string>& texts) {
    std::string json;
    for (const std::string& text : texts) json += (json.empty() ? "" : ", ") + JsonQuoted(text);
    return "[" + json + "]";
  };
  const DriverTexts& driver = findings.driver;
  const std::pair<const char*, std::string> members[] = {
      {"platform", JsonQuoted(Platform().name)},
      {"display", findings.display.empty() ? "null" : JsonQuoted(findings.display)},
      {"passedOver", list(findings.passedOver)},
      {"ready", findings.ready ? "true" : "false"},
      {"vendor", JsonQuoted(driver.vendor)},
      {"renderer", JsonQuoted(driver.renderer)},
      {"software", findings.software ? "true" : "false"},
      {"version", JsonQuoted(driver.version)},
      {"glsl", JsonQuoted(driver.glsl)},
      {"egl", JsonQuoted(driver.eglVersion)},
      {"eglVendor", JsonQuoted(driver.eglVendor)},
      {"offered", findings.offered.version.empty() ? "null" : JsonQuoted(findings.offered.version)},
      {"required", JsonQuoted(findings.required)},
      {"found", JsonQuoted(findings.found)},
      {"enough", findings.enough ? "true" : "false"},
      {"devices", list(findings.devices)},
      {"captureFormats", list(CaptureFormats())},
      {"errors", list(findings.errors)},
      {"hints", list(Hints(findings))}};
  const char* separator = "{\n";
  for (const auto& [name, json] : members) fmt::print("{}  \"{}\": {}", std::exchange(separator, ",\n"), name, json);
  fmt::print("\n}}\n");
}

class InfoCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override {
    app.add_flag("--verbose", verbose_, "Prints the library's log as well");
    app.add_flag("--json", json_, "As JSON");
  }
  bool Verbose() const override { return verbose_; }
  int Run() override {
    const Findings findings = Find(verbose_);
    json_ ? PrintJson(findings) : PrintText(findings, verbose_);
    return findings.ready && findings.enough ? kDone : kFailed;
  }

 private:
  bool verbose_ = false, json_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeInfo() { return std::make_unique<InfoCommand>(); }

}  // namespace qvgtool
