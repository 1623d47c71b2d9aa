#include "commands/selftestText.h"

#include <fmt/format.h>

#include <string_view>
#include <utility>

namespace qvgtool {

using namespace selftest;

namespace {

std::string Row(std::string_view title, std::string_view text) { return fmt::format("{:<12}{}\n", title, text); }

std::string Value(const Facts& facts, std::string_view name) {
  for (const auto& [key, value] : facts) {
    if (key == name) return value;
  }
  return "";
}

// A line for each group, "  blend: multiply, screen".
std::string ByGroup(const std::vector<const CheckResult*>& checks) {
  std::string text, group;
  for (const CheckResult* check : checks) {
    const std::string before = std::exchange(group, check->group);
    text += before == group ? ", " : fmt::format("{}  {}: ", text.empty() ? "" : "\n", group);
    text += check->name;
  }
  return text + '\n';
}

std::string WhatToSend(const Report& report, const std::string& reportFile) {
  const bool passed = report.Passed();
  const char* const wrong = passed ? "If pictures are wrong all the same" : "To report this";
  const char* const say = passed ? "the command or the calls that go wrong, and a frame of them"
                                 : "what was changed last: the driver, the system, the environment";
  if (reportFile.empty())
    return fmt::format("{}: qvg selftest --report report.txt writes a file to send, with\n{}.\n", wrong, say);
  return fmt::format("{}, send {} with\n{}.\nIt holds names of files and variables of this machine: read it first.\n",
                     wrong, reportFile, say);
}

}  // namespace

void SelftestText::_Print(const std::string& text) {
  std::fputs(text.c_str(), file_);
  std::fflush(file_);
}

void SelftestText::Start(const Report& report) {
  std::string text = Row("Display", report.started ? report.display.chosen : "none");
  const char* title = "Passed over";
  for (const std::string& line : report.display.passedOver) text += Row(std::exchange(title, ""), line);
  if (report.started) {
    text += Row("Renderer", Value(report.driver, "Renderer") + ", " + Value(report.driver, "Vendor"));
    text += Row("OpenGL", Value(report.driver, "Version"));
    text +=
        "\nErrors are in steps of 1/255: the largest of a check's pixels, and how large it may be.\n"
        "Texels are R, G, B, A, as they lie in GL's coordinates.\n";
  }
  _Print(text);
}

void SelftestText::Begins(const CheckGroup& group) {
  _Print(fmt::format("\n{:<42}{:>8}{:>8}\n", group.title, "error", "limit"));
}

void SelftestText::Begins(const Check& check) { _Print(fmt::format("  {:<40}", check.name)); }

void SelftestText::Ended(const CheckResult& result) {
  std::string text =
      fmt::format("{:>8.2f}{:>8.2f}  {}\n", result.largest, result.limit, result.Passed() ? "ok" : "FAILED");
  for (const auto& [where, what] : result.faults) {
    if (!where.empty()) text += fmt::format("      {}\n", where);
    text += fmt::format("        {}\n", what);
  }
  const size_t more = result.faultCount - result.faults.size();
  if (more > 0) text += fmt::format("      and in {} more cases\n", more);
  _Print(text);
}

void SelftestText::Timed(const TimingResult& result) {
  if (!std::exchange(timed_, true)) {
    _Print(fmt::format("\n{:<50}{:>10}{:>10}{:>8}\n", "Times of a frame of " + result.size + ", medians", "library",
                       "bare GL", "ratio"));
  }
  if (!result.error.empty()) {
    _Print(fmt::format("  {:<48}  {}\n", result.title, result.error));
    return;
  }
  _Print(fmt::format("  {:<48}{:>7.2f} ms{:>7.2f} ms{:>8.2f}{}\n", result.title, result.library, result.bare,
                     result.library / result.bare, result.samePixels ? "" : "  (their pictures differ)"));
}

void SelftestText::End(const Report& report, const std::string& reportFile) {
  std::string text = "\n";
  if (!report.started) {
    text += "NO CONTEXT: the library got none from any display, and no check ran.\n";
    for (const std::string& error : report.display.errors) text += fmt::format("  {}\n", error);
    text += "qvg info tells what to look at first.\n";
  } else if (report.Passed()) {
    text += fmt::format("PASSED: all {} checks, in {:.1f} s. The library draws here what it should.\n",
                        report.checks.size(), report.seconds);
  } else {
    const std::vector<const CheckResult*> failed = report.Failed();
    text += fmt::format("FAILED: {} of {} checks, in {:.1f} s:\n{}", failed.size(), report.checks.size(),
                        report.seconds, ByGroup(failed));
    text += "Another driver may help: a newer one, or on Linux Mesa's software renderer (LIBGL_ALWAYS_SOFTWARE=1).\n";
  }
  _Print(text + WhatToSend(report, reportFile));
}

void SelftestText::Section(const std::string& title, const Facts& facts) {
  std::string text = fmt::format("\n---- {}\n", title);
  for (const auto& [name, value] : facts) text += fmt::format("{}: {}\n", name, value);
  _Print(text);
}

void SelftestText::Section(const std::string& title, const std::vector<std::string>& lines) {
  std::string text = fmt::format("\n---- {}\n", title);
  for (const std::string& line : lines) text += line + '\n';
  _Print(text);
}

}  // namespace qvgtool
