#include "selftest/check.h"

namespace qvgtool::selftest {

using namespace qvg::reference;

void Comparison::Same(const Image& expected, const Image& actual, const std::vector<bool>& skip) {
  Fault(Compare(expected, actual, limit_, errors, skip));
}

void Comparison::Same(const Planes& expected, const QVGPixelBuffer& actual) {
  Fault(Compare(expected, actual, limit_, errors));
}

void Comparison::Holds(bool condition, const std::string& what) {
  ++errors.compared;
  if (!condition) Fault("not true that " + what);
}

void Comparison::Fault(const std::string& text) {
  constexpr size_t kKept = 2;
  if (text.empty() || ++faultCount > kKept) return;
  faults.push_back(case_.empty() ? text : case_ + ": " + text);
}

const std::vector<CheckGroup>& CheckGroups() {
  static const std::vector<CheckGroup> groups = {
      {"upload", "Uploads", &UploadChecks},    {"readback", "Read-backs", &ReadBackChecks},
      {"texture", "Textures", &TextureChecks}, {"blend", "Blend types", &BlendChecks},
      {"matte", "Mattes", &MatteChecks},       {"geometry", "Placing and drawing", &GeometryChecks},
      {"effect", "The effect", &EffectChecks},
  };
  return groups;
}

}  // namespace qvgtool::selftest
