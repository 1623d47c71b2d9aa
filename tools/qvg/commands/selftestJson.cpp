#include "commands/selftestJson.h"

#include <fmt/format.h>

#include "commands/json.h"

namespace qvgtool {

using namespace selftest;

namespace {

const char* Json(bool value) { return value ? "true" : "false"; }

// A JSON array with a line for each element, as the function gives it.
template <class List, class Element>
std::string ListOf(const List& list, const Element& element) {
  std::string json;
  for (const auto& one : list) json += (json.empty() ? "\n    " : ",\n    ") + element(one);
  return "[" + json + "]";
}

std::string ObjectOf(const Facts& facts) {
  std::string json;
  for (const auto& [name, value] : facts)
    json += (json.empty() ? "\n    " : ",\n    ") + JsonQuoted(name) + ": " + JsonQuoted(value);
  return "{" + json + "}";
}

std::string FaultJson(const Fault& fault) {
  return fmt::format(R"({{"case": {}, "fault": {}}})", JsonQuoted(fault.where), JsonQuoted(fault.what));
}

std::string CheckJson(const CheckResult& check) {
  return fmt::format(R"({{"group": {}, "name": {}, "passed": {}, "largestError": {:.4f}, "limit": {}, "compared": {}, )"
                     R"("milliseconds": {:.1f}, "faultCount": {}, "faults": {}}})",
                     JsonQuoted(check.group), JsonQuoted(check.name), Json(check.Passed()), check.largest, check.limit,
                     check.compared, check.milliseconds, check.faultCount, ListOf(check.faults, FaultJson));
}

std::string TimingJson(const TimingResult& timing) {
  return fmt::format(
      R"({{"name": {}, "title": {}, "size": {}, "frames": {}, "library": {:.4f}, "bare": {:.4f}, "ratio": {}, )"
      R"("samePixels": {}, "error": {}}})",
      JsonQuoted(timing.name), JsonQuoted(timing.title), JsonQuoted(timing.size), timing.frames, timing.library,
      timing.bare, timing.bare > 0 ? fmt::format("{:.4f}", timing.library / timing.bare) : "null",
      Json(timing.samePixels), timing.error.empty() ? "null" : JsonQuoted(timing.error));
}

}  // namespace

std::string SelftestJson(const Report& report) {
  const std::pair<const char*, std::string> members[] = {
      {"passed", Json(report.Passed())},
      {"context", Json(report.started)},
      {"quick", Json(report.quick)},
      {"seconds", fmt::format("{:.2f}", report.seconds)},
      {"display", report.started ? JsonQuoted(report.display.chosen) : "null"},
      {"passedOver", ListOf(report.display.passedOver, JsonQuoted)},
      {"errors", ListOf(report.display.errors, JsonQuoted)},
      {"versions", ObjectOf(report.versions)},
      {"driver", ObjectOf(report.driver)},
      {"limits", ObjectOf(report.limits)},
      {"platform", ObjectOf(report.platform)},
      {"environment", ObjectOf(report.environment)},
      {"failed", fmt::format("{}", report.Failed().size())},
      {"checks", ListOf(report.checks, CheckJson)},
      {"timing", ListOf(report.timing, TimingJson)},
      {"extensions", ListOf(report.extensions, JsonQuoted)},
      {"log", ListOf(report.log, [](const LogLine& line) { return JsonQuoted(line.raw); })}};
  std::string json;
  for (const auto& [name, value] : members)
    json += fmt::format("{}  \"{}\": {}", json.empty() ? "{\n" : ",\n", name, value);
  return json + "\n}\n";
}

}  // namespace qvgtool
