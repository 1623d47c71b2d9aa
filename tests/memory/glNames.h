// Counts the GL names that live, kind by kind, as they are made and deleted.
#pragma once

#include <array>

namespace qvg::test {

enum NameKind { kTexture, kBuffer, kRenderBuffer, kFrameBuffer, kVertexArray, kSampler, kProgram, kShader, kSync };
using NameBalance = std::array<int, kSync + 1>;

/// From the next start of the library on.
void CountNames();
NameBalance LivingNames();

}  // namespace qvg::test
