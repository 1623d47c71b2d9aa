// Finds values for the key with which the screen behind a person disappears and the person stays.
#pragma once

#include <array>
#include <cstddef>
#include <cstdint>
#include <optional>
#include <span>
#include <stdexcept>

namespace qvg::effectkit {

/// An upright picture of R, G, B and A bytes.
struct PictureView {
  const uint8_t* rgba;
  ptrdiff_t stride;  ///< Bytes from a row to the next.
  int width, height;

  const uint8_t* Pixel(int x, int y) const { return rgba + y * stride + ptrdiff_t{4} * x; }
};

struct KeyValues {
  double color[3];                        ///< R, G, B from 0 to 1, as the effect takes them.
  int64_t similarity, smoothness, spill;  ///< In thousandths of colour distance, likewise.
};

/// Why no values are found, in words for the user.
class KeyError : public std::runtime_error {
 public:
  using std::runtime_error::runtime_error;
};

/// No colour stands out; it may help to name the screen's.
class NoScreenError : public KeyError {
 public:
  using KeyError::KeyError;
};

/// pictures: at least one; they may show different things, or only the screen.
/// named: approximately the screen's colour; without it, the colour is found along the left, right and upper borders.
/// Throws KeyError when no colour stands out there, or none that can be keyed, or when the colours of screen and
/// foreground overlap.
///
/// Runs on the calling thread, for about 5 ms per picture of 480 x 270; larger pictures give no better values.
KeyValues FindKey(std::span<const PictureView> pictures, std::optional<std::array<uint8_t, 3>> named = std::nullopt);

/// The share of a picture's pixels that these values make transparent, 0 to 1.
double KeyedShare(const PictureView& picture, std::span<const double, 3> color, int64_t similarity);

}  // namespace qvg::effectkit
