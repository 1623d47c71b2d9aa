// Shared by the programs that abuse the library or run it for a long time.
#pragma once

#include <cstddef>
#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "qvGLRenderer/qvGLRenderer.h"

namespace qvg::test {

/// Reads numbers from a command line of "--name value" pairs over their defaults; ends the program at anything else.
/// From then on standard output, to which the library prints, is discarded.
std::map<std::string, int64_t> Options(int argc, char** argv, std::map<std::string, int64_t> defaults);

/// Uploads a small picture, draws it and reads it back on the current context: "" when it came back byte for byte.
const char* PictureFault(const QVGGLRendererInterface& gl, uint32_t seed);

/// GL names by kind (see Names), with the pools empty and all contexts gone except this one, which is made current. To
/// be called when all handles have been given back.
std::vector<size_t> CountsWhenIdle(const QVGGLRendererInterface& gl, QVGGLContext* context);

}  // namespace qvg::test
