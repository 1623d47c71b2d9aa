// OpenGL as the library uses it: core 4.2, glTextureBarrier and debug output, loaded once by gladLoadGL.
#pragma once

#include <glad/gl.h>
