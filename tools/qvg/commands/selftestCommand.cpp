#include <fmt/format.h>

#include <algorithm>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstring>
#include <memory>
#include <optional>
#include <qvGLRenderer/qvGLRenderer.hpp>
#include <stdexcept>
#include <string>
#include <vector>

#include "commands/command.h"
#include "commands/selftestJson.h"
#include "commands/selftestText.h"
#include "picture/logCapture.h"
#include "platform/files.h"
#include "selftest/images.h"
#include "selftest/platform.h"
#include "selftest/report.h"

namespace qvgtool {
namespace {

using namespace selftest;

// Any number may follow "device:".
std::string ContextFault(const std::string& text) {
  const std::vector<std::string> choices = DisplayChoices();
  const std::string device = "device:";
  const bool numbered = std::find(choices.begin(), choices.end(), "device") != choices.end() &&
                        text.starts_with(device) && text.size() > device.size() &&
                        text.find_first_not_of("0123456789", device.size()) == std::string::npos;
  if (numbered || std::find(choices.begin(), choices.end(), text) != choices.end()) return "";
  return fmt::format("{} is none of {}", text, fmt::join(choices, ", "));
}

void PrintList() {
  for (const CheckGroup& group : CheckGroups()) {
    fmt::print("{:<12}{}\n", group.name, group.title);
    for (const Check& check : group.make()) fmt::print("            {}\n", check.name);
  }
}

class SelftestCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override {
    std::vector<std::string> groups, choices = DisplayChoices();
    for (const CheckGroup& group : CheckGroups()) groups.emplace_back(group.name);
    if (choices.size() > 1) choices.emplace_back("device:N");
    app.add_option("--context", context_,
                   "Display to start on, as QVG_CONTEXT names it, instead of the first that works")
        ->type_name(fmt::format("{}", fmt::join(choices, "|")))
        ->check(CLI::Validator(ContextFault, ""));
    app.add_option("--only", only_, "Group of checks to run, without times; may be given several times")
        ->type_name("GROUP")
        ->check(CLI::IsMember(groups));
    app.add_flag("--quick", quick_, "A few seconds: fewer cases of each check, and no times");
    app.add_flag("--json", json_, "As JSON");
    app.add_option("--report", reportFile_, "Also writes all that a bug report needs to a text file")
        ->type_name("FILE");
    app.add_flag("--list", list_, "Lists groups and checks, and runs none");
    app.footer("Exit code: 0 when all checks passed, 1 when one failed, 3 when the library got no context.");
  }

  int Run() override {
    if (list_) {
      PrintList();
      return kDone;
    }
    FilePtr reportFile;
    if (!reportFile_.empty()) {
      reportFile = OpenFile(reportFile_, "w");
      if (!reportFile) throw std::runtime_error(fmt::format("{}: {}", reportFile_, std::strerror(errno)));
    }
    SetEnvironment("QVG_LOG_LEVEL", nullptr);  // The checks look at the library's log.
    if (!context_.empty()) SetEnvironment("QVG_CONTEXT", context_.c_str());
    Report report;
    report.quick = quick_;
    LogCapture log;
    const FilePtr output = OpenDescriptor(log.StandardOutput());
    if (!output) throw std::runtime_error("standard output is closed");
    _Run(report, log, output.get(), reportFile.get());
    if (json_) std::fputs(SelftestJson(report).c_str(), output.get());
    if (!report.started) return kNoContext;
    return report.Passed() ? kDone : kFailed;
  }

 private:
  // The report file is written at once, line by line: a driver may end the process.
  void _Run(Report& report, LogCapture& log, std::FILE* output, std::FILE* reportFile) const {
    std::vector<SelftestText> texts;
    if (!json_) texts.emplace_back(output);
    if (reportFile) texts.emplace_back(reportFile);
    const auto forEach = [&](const auto& action) {
      for (SelftestText& text : texts) action(text);
    };
    report.versions = VersionFacts();
    report.environment = EnvironmentFacts();
    const auto begin = std::chrono::steady_clock::now();
    {
      const qvg::Library library(ImageConfig());
      const qvg::Context context = qvg::Context::New();
      const qvg::CurrentContext current(context);
      report.started = current && LoadGL();
      _Describe(report, log);
      if (reportFile) _WriteFacts(report, texts.back());
      forEach([&](SelftestText& text) { text.Start(report); });
      if (report.started) _Examine(report, log, texts);
    }
    report.seconds = std::chrono::duration<double>(std::chrono::steady_clock::now() - begin).count();
    report.log = log.Lines();
    forEach([&](SelftestText& text) { text.End(report, reportFile_); });
    if (reportFile) _WriteDetails(report, texts.back());
  }

  static void _Describe(Report& report, LogCapture& log) {
    report.display = FindDisplay(log.Lines());
    report.platform = PlatformFacts();
    if (!report.started) return;
    report.driver = DriverFacts();
    report.limits = LimitFacts();
    report.extensions = DriverExtensions();
  }

  void _Examine(Report& report, LogCapture& log, std::vector<SelftestText>& texts) const {
    std::vector<Listener*> listeners;
    listeners.reserve(texts.size());
    for (SelftestText& text : texts) listeners.push_back(&text);
    report.checks = Suite(only_, quick_).Run(log, listeners);
    if (quick_ || !only_.empty()) return;
    report.timing = MeasureTimes(qvg::Table(), [&](const TimingResult& result) {
      for (SelftestText& text : texts) text.Timed(result);
    });
  }

  static void _WriteFacts(const Report& report, SelftestText& file) {
    file.Section("Versions", report.versions);
    file.Section("Environment", report.environment);
    file.Section("Platform", report.platform);
    file.Section("Driver", report.driver);
    file.Section("Limits", report.limits);
    file.Section("Checks", std::vector<std::string>());
  }

  static void _WriteDetails(const Report& report, SelftestText& file) {
    std::vector<std::string> lines;
    for (const LogLine& line : report.log) lines.push_back(line.raw);
    file.Section("The library's log", lines);
    file.Section("Extensions of the driver", report.extensions);
  }

  std::string context_, reportFile_;
  std::vector<std::string> only_;
  bool quick_ = false, json_ = false, list_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeSelftest() { return std::make_unique<SelftestCommand>(); }

}  // namespace qvgtool
