// What the programs that abuse the library, or use it for long, have in common.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg::test {

/// Numbers from a command line of "--name value" pairs over their defaults; ends the program at anything else. From
/// then on standard output, on which the library prints, is dropped.
std::map<std::string, int64_t> Options(int argc, char** argv, std::map<std::string, int64_t> defaults);

/// Uploads a small picture, draws it and reads it back on the current context: "" when it came back byte for byte.
const char* PictureFault(const QVGGLRendererInterface& gl, uint32_t seed);

/// GL names by kind (see Names) with pools empty and all contexts gone but this one, which is made current. For when
/// all handles were given back.
std::vector<size_t> CountsWhenIdle(const QVGGLRendererInterface& gl, QVGGLContext* context);

}  // namespace qvg::test
