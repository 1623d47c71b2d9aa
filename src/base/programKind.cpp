#include "base/programKind.h"

namespace qvg {

ProgramText ProgramText::Of(const ProgramKind& kind, uint32_t variant) {
  ProgramText text{kind.name, "#version 410 core\n", {}};
  for (const ProgramSwitch& entry : kind.switches) {
    if (entry.name == nullptr) break;
    const uint32_t value = variant & ((1u << entry.bits) - 1);
    variant >>= entry.bits;
    if (value == 0) continue;
    const std::string number = entry.bits > 1 ? std::to_string(value) : "";
    text.name += std::string("+") + entry.name + number;
    text.vertex += std::string("#define ") + entry.name + ' ' + number + '\n';
  }
  text.fragment = text.vertex;
  for (const char* part : kind.vertex) {
    if (part != nullptr) text.vertex += part;
  }
  for (const char* part : kind.fragment) {
    if (part != nullptr) text.fragment += part;
  }
  return text;
}

}  // namespace qvg
