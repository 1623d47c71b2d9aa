#include <fmt/format.h>

#include "commands/command.h"
#include "commands/json.h"
#include "picture/effect.h"

namespace qvgtool {
namespace {

const char* TypeName(int32_t type) {
  switch (type) {
    case QVG_PARAM_INTEGER:
      return "integer";
    case QVG_PARAM_BOOLEAN:
      return "switch";
    case QVG_PARAM_TEXT:
      return "file";
    case QVG_PARAM_COLOR:
      return "colour";
    default:
      return "unknown";
  }
}

std::string Json(const QVGParamValue& value) {
  const auto& v = value.value;
  switch (value.type) {
    case QVG_PARAM_INTEGER:
      return fmt::format("{}", v.integer);
    case QVG_PARAM_BOOLEAN:
      return v.boolean ? "true" : "false";
    case QVG_PARAM_TEXT:
      return v.text ? JsonQuoted(v.text) : "null";
    case QVG_PARAM_COLOR:
      return fmt::format("[{}, {}, {}]", v.color[0], v.color[1], v.color[2]);
    default:
      return "null";
  }
}

std::string Readable(const QVGParamValue& value) {
  const auto& v = value.value;
  switch (value.type) {
    case QVG_PARAM_BOOLEAN:
      return v.boolean ? "on" : "off";
    case QVG_PARAM_TEXT:
      return v.text ? v.text : "none";
    case QVG_PARAM_COLOR:
      return ColorText(v.color);
    default:
      return Json(value);
  }
}

void PrintJson(const EffectTable& table) {
  fmt::print("[{{\"name\": {}, \"label\": {}, \"parameters\": [", JsonQuoted(table.name),
             JsonQuoted(table.displayName));
  const char* separator = "\n";
  for (const QVGParamDescriptor& row : table.rows) {
    fmt::print("{}  {{\"name\": {}, \"label\": {}, \"help\": {}, \"type\": \"{}\", \"default\": {}", separator,
               JsonQuoted(row.name), JsonQuoted(row.label), JsonQuoted(HelpOf(row)), TypeName(row.valueType),
               Json(row.defaultValue));
    if (row.valueType == QVG_PARAM_INTEGER) {
      fmt::print(", \"minimum\": {}, \"maximum\": {}, \"step\": {}", Json(row.minimum), Json(row.maximum),
                 Json(row.step));
    }
    fmt::print("}}");
    separator = ",\n";
  }
  fmt::print("\n]}}]\n");
}

void PrintText(const EffectTable& table) {
  fmt::print("{} ({}), {} parameters\n\n", table.name, table.displayName, table.rows.size());
  constexpr const char* kRow = "{:<14}{:<9}{:<13}{:<9}{}\n";
  fmt::print(fmt::runtime(kRow), "Name", "Type", "Range", "Default", "");
  for (const QVGParamDescriptor& row : table.rows) {
    const bool integer = row.valueType == QVG_PARAM_INTEGER;
    const std::string range = integer ? Readable(row.minimum) + " to " + Readable(row.maximum) : "";
    const std::string help = HelpOf(row), label = row.label;
    fmt::print(fmt::runtime(kRow), row.name, TypeName(row.valueType), range, Readable(row.defaultValue),
               help == label ? label : fmt::format("{} ({})", help, label));
  }
}

class EffectsCommand : public Command {
 public:
  void AddOptions(CLI::App& app) override { app.add_flag("--json", json_, "As JSON"); }
  int Run() override {
    const EffectTable table = LoadEffectTable();
    json_ ? PrintJson(table) : PrintText(table);
    return kDone;
  }

 private:
  bool json_ = false;
};

}  // namespace

std::unique_ptr<Command> MakeEffects() { return std::make_unique<EffectsCommand>(); }

}  // namespace qvgtool
