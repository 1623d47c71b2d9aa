#pragma once

#include <qvGLRenderer/qvGLRenderer.h>

#include <array>
#include <cstdint>
#include <optional>
#include <string>

namespace qvgst {

/// Finding the values of a key in the frames themselves.
struct KeyRequest {
  std::optional<std::array<uint8_t, 3>> named;  ///< About the screen's colour; none: it is found, too.
};

/// What the property "key" asks for: "auto", #rrggbb, 0xrrggbb or a colour's name. None for anything else.
std::optional<KeyRequest> KeyNamed(const std::string& text);

/// A colour as the effect takes it.
QVGParamValue ColorValue(const std::array<uint8_t, 3>& rgb);

}  // namespace qvgst
