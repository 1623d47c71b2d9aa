#include "selftest/check.h"

namespace qvgtool::selftest {

using namespace qvg::reference;

void Comparison::Same(const Image& expected, const Image& actual, const std::vector<bool>& skip) {
  Record(Compare(expected, actual, limit_, errors, skip));
}

void Comparison::Same(const Planes& expected, const QVGPixelBuffer& actual) {
  Record(Compare(expected, actual, limit_, errors));
}

void Comparison::Holds(bool condition, const std::string& what) {
  ++errors.compared;
  if (!condition) Record("not true that " + what);
}

void Comparison::Record(const std::string& fault) {
  constexpr size_t kKept = 2;
  if (!fault.empty() && ++faultCount <= kKept) faults.push_back({case_, fault});
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
