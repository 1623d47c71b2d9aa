#include "reference/drawing.h"

#include <algorithm>
#include <cmath>

namespace qvg::reference {
namespace {

// ---- Matrices: column vectors, m[row][column] ----

using Vector = std::array<double, 3>;
using Matrix = std::array<std::array<double, 4>, 4>;

Matrix Identity() {
  Matrix m = {};
  for (int i = 0; i < 4; ++i) m[i][i] = 1;
  return m;
}

Matrix operator*(const Matrix& a, const Matrix& b) {
  Matrix m = {};
  for (int i = 0; i < 4; ++i)
    for (int j = 0; j < 4; ++j)
      for (int k = 0; k < 4; ++k) m[i][j] += a[i][k] * b[k][j];
  return m;
}

Matrix Diagonal(double x, double y, double z) {
  Matrix m = Identity();
  m[0][0] = x, m[1][1] = y, m[2][2] = z;
  return m;
}

Matrix Translation(double x, double y, double z) {
  Matrix m = Identity();
  m[0][3] = x, m[1][3] = y, m[2][3] = z;
  return m;
}

// A right-handed rotation about an axis: from the next axis towards the one after that.
Matrix Rotation(int axis, double degrees) {
  const double angle = degrees * 3.14159265358979323846 / 180;
  const int a = (axis + 1) % 3, b = (axis + 2) % 3;
  Matrix m = Identity();
  m[a][a] = m[b][b] = std::cos(angle);
  m[b][a] = std::sin(angle);
  m[a][b] = -m[b][a];
  return m;
}

Vector Cross(const Vector& a, const Vector& b) {
  return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}
double Dot(const Vector& a, const Vector& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
Vector Normalised(const Vector& a) {
  const double length = std::sqrt(Dot(a, a));
  return {a[0] / length, a[1] / length, a[2] / length};
}

Matrix View(const QVGCamera& camera) {
  const Vector eye = {camera.eye[0], camera.eye[1], camera.eye[2]};
  const Vector forward = Normalised({camera.centre[0] - eye[0], camera.centre[1] - eye[1], camera.centre[2] - eye[2]});
  const Vector side = Normalised(Cross(forward, {camera.up[0], camera.up[1], camera.up[2]}));
  const Vector up = Cross(side, forward);
  Matrix m = Identity();
  for (int i = 0; i < 3; ++i) {
    m[0][i] = side[i];
    m[1][i] = up[i];
    m[2][i] = -forward[i];
  }
  return m * Translation(-eye[0], -eye[1], -eye[2]);
}

Matrix Projection(const QVGCamera& c) {
  if (c.projection == 1) {
    Matrix m = Diagonal(2.0 / (c.right - c.left), 2.0 / (c.top - c.bottom), -2.0 / (c.orthoFar - c.orthoNear));
    m[0][3] = -(0.0 + c.right + c.left) / (c.right - c.left);
    m[1][3] = -(0.0 + c.top + c.bottom) / (c.top - c.bottom);
    m[2][3] = -(0.0 + c.orthoFar + c.orthoNear) / (c.orthoFar - c.orthoNear);
    return m;
  }
  const double cotangent = 1 / std::tan(c.fovy / 2.0), near = c.perspectiveNear, far = c.perspectiveFar;
  Matrix m = Diagonal(cotangent / c.aspect, cotangent, (far + near) / (near - far));
  m[2][3] = 2 * far * near / (near - far);
  m[3][2] = -1;
  m[3][3] = 0;
  return m;
}

// ---- Blending ----

double Lum(const Color& c) { return 0.3 * c[0] + 0.59 * c[1] + 0.11 * c[2]; }

Color SetLum(const Color& s, double lum) {
  Color x = s;
  for (int c = 0; c < 3; ++c) x[c] += lum - Lum(s);
  const double l = Lum(x), lo = std::min({x[0], x[1], x[2]}), hi = std::max({x[0], x[1], x[2]});
  Color result = x;
  for (int c = 0; c < 3; ++c) {
    if (lo < 0) result[c] = l + (x[c] - l) * l / (l - lo);
    if (hi > 1) result[c] = l + (x[c] - l) * (1 - l) / (hi - l);
  }
  return result;
}

double BlendChannel(int type, double s, double d) {
  switch (type) {
    case QVG_BLEND_ADD:
      return s + d;
    case QVG_BLEND_COLOR_BURN:
      return s == 0 ? 0 : 1 - std::min(1.0, (1 - d) / s);
    case QVG_BLEND_COLOR_DODGE:
      return s < 1 ? std::min(1.0, d / (1 - s)) : 1;
    case QVG_BLEND_DARKEN:
      return std::min(s, d);
    case QVG_BLEND_HARD_LIGHT:
      return s <= 0.5 ? 2 * d * s : d + (2 * s - 1) - d * (2 * s - 1);
    case QVG_BLEND_LIGHTEN:
      return std::max(s, d);
    case QVG_BLEND_MULTIPLY:
      return d * s;
    case QVG_BLEND_OVERLAY:
      return d > 0.5 ? s * ((1 - d) / 0.5) + (d - (1 - d)) : s * (d / 0.5);
    case QVG_BLEND_SCREEN:
      return s + d - s * d;
    case QVG_BLEND_SOFT_LIGHT:
      return s < 0.5 ? 2 * d * s + d * d * (1 - 2 * s) : std::sqrt(d) * (2 * s - 1) + 2 * d * (1 - s);
    default:
      return s;
  }
}

Color Blend(int type, const Color& s, const Color& d, bool shortProgram) {
  const bool mask = type == QVG_BLEND_MASK_ALPHA || type == QVG_BLEND_MASK_LUMA;
  if (!shortProgram) {
    if (s[3] == 0) return d;
    if (d[3] == 0 && !mask) return s;
  }
  double alpha = s[3] + (1 - s[3]) * d[3];
  Color b;
  for (int c = 0; c < 3; ++c) b[c] = BlendChannel(type, s[c], d[c]);
  const double luma = s[0] * s[3];
  double keep = -1;  // how much of the background the erasing and masking types leave
  if (type == QVG_BLEND_ERASE_ALPHA) keep = 1 - s[3];
  if (type == QVG_BLEND_ERASE_LUMA) keep = 1 - luma;
  if (type == QVG_BLEND_MASK_ALPHA) keep = s[3];
  if (type == QVG_BLEND_MASK_LUMA) keep = luma;
  if (keep >= 0) {
    alpha = d[3] * keep;
    for (int c = 0; c < 3; ++c) {
      b[c] = d[c] * keep;
      if (type == QVG_BLEND_ERASE_LUMA && alpha != 0) b[c] /= alpha;
    }
  }
  if (type == QVG_BLEND_LUMINOSITY) b = SetLum(s, Lum(d));
  if (type == QVG_BLEND_DARKER_COLOR) {
    const auto brightness = [](const Color& c) { return 0.2126 * c[0] + 0.7152 * c[1] + 0.0722 * c[2]; };
    b = brightness(s) > brightness(d) ? d : s;
  }
  Color result = b;
  if (alpha != 0 && !mask)
    for (int c = 0; c < 3; ++c)
      result[c] = (1 - s[3] / alpha) * d[c] + s[3] / alpha * ((1 - d[3]) * s[c] + d[3] * b[c]);
  result[3] = alpha;
  return result;
}

double MatteAlpha(int type, double alpha, const Color& m) {
  switch (type) {
    case QVG_MATTE_ALPHA:
      return alpha * m[3];
    case QVG_MATTE_ALPHA_INVERTED:
      return alpha * (1 - m[3]);
    case QVG_MATTE_LUMA:
      return alpha * m[0] * m[3];
    case QVG_MATTE_LUMA_INVERTED:
      return alpha * (1 - m[0] * m[3]);
    default:
      return alpha;
  }
}

}  // namespace

QVGCamera DefaultCamera(int width, int height) {
  const auto w = static_cast<float>(width), h = static_cast<float>(height);
  return {1,     -w / 2, w / 2, h / 2,        -h / 2,    0,        20000, 2 * std::atan(h / 2000),
          w / h, 1,      20000, {0, 0, 1000}, {0, 0, 0}, {0, 1, 0}};
}

QVGDrawTextureParams DefaultParams() { return QVG_DRAW_TEXTURE_PARAMS_INIT; }

DrawResult ExpectedDraw(const DrawScene& scene) {
  const QVGDrawTextureParams& p = scene.params;
  const int turns = scene.quarterTurns % 4;
  double width = scene.source.width, height = scene.source.height;
  if (turns % 2 != 0) std::swap(width, height);
  if (p.useSizeFactor) width *= p.sizeFactor[0], height *= p.sizeFactor[1];

  const Matrix model = Translation(p.translation[0], p.translation[1], p.translation[2]) * Rotation(0, p.rotation[0]) *
                       Rotation(1, p.rotation[1]) * Rotation(2, p.rotation[2]) *
                       Diagonal(p.scale[0], p.scale[1], p.scale[2]);
  // From the quad's (x, y, 1), with the centre at 0, to clip coordinates; without z it can be inverted.
  const Matrix clip =
      Projection(scene.camera) * View(scene.camera) * model * Translation(-p.anchor[0], -p.anchor[1], -p.anchor[2]);
  const auto column = [&](int i) -> Vector { return {clip[0][i], clip[1][i], clip[3][i]}; };
  const Vector x = column(0), y = column(1), w = column(3);
  const double determinant = Dot(x, Cross(y, w));
  const Vector rows[3] = {Cross(y, w), Cross(w, x), Cross(x, y)};

  const Image& target = scene.target;
  const bool shortProgram =
      p.blendType == QVG_BLEND_NORMAL && !p.simpleMatte && (p.matteType == QVG_MATTE_NONE || scene.matte.empty());
  DrawResult result{target, std::vector<bool>(target.texels.size()), std::vector<double>(target.texels.size(), 2)};
  for (int j = 0; j < target.height; ++j) {
    for (int i = 0; i < target.width; ++i) {
      const size_t index = static_cast<size_t>(j) * target.width + i;
      // The pixel in content coordinates 0..1, taken to the quad's plane.
      const auto quadAt = [&](double dx, double dy, double& qx, double& qy) {
        const Vector ndc = {2 * (i + 0.5 + dx) / target.width - 1, 2 * (j + 0.5 + dy) / target.height - 1, 1};
        const double scale = Dot(rows[2], ndc) / determinant;
        qx = Dot(rows[0], ndc) / determinant / scale;
        qy = Dot(rows[1], ndc) / determinant / scale;
        return scale > 0 && std::abs(qx) <= width / 2 && std::abs(qy) <= height / 2;
      };
      double qx = 0, qy = 0;
      int covered = 0;
      for (const double dx : {-0.02, 0.02})
        for (const double dy : {-0.02, 0.02}) covered += quadAt(dx, dy, qx, qy) ? 1 : 0;
      result.onEdge[index] = covered != 0 && covered != 4;
      if (!quadAt(0, 0, qx, qy)) continue;

      const double clipW = clip[3][0] * qx + clip[3][1] * qy + clip[3][3];
      result.depth[index] = ((clip[2][0] * qx + clip[2][1] * qy + clip[2][3]) / clipW + 1) / 2;
      double u = qx / width + 0.5, v = qy / height + 0.5;
      if (turns == 1) std::swap(u, v), u = 1 - u;
      if (turns == 2) u = 1 - u, v = 1 - v;
      if (turns == 3) std::swap(u, v), v = 1 - v;
      Color s = SampleLinear(scene.source, u * scene.source.width, v * scene.source.height);
      if (scene.premultipliedSource) s = Straight(s);
      s[3] *= p.opacity;
      const double px = (i + 0.5) / target.width, py = (j + 0.5) / target.height;
      if (!scene.matte.empty() && s[3] > 0) {
        const Color matte = SampleLinear(scene.matte, px * scene.matte.width, py * scene.matte.height);
        s[3] = MatteAlpha(p.matteType, s[3], scene.premultipliedMatte ? Straight(matte) : matte);
      }
      if (p.simpleMatte &&
          (std::abs(px - 0.5) > p.simpleMatteSize[0] / 2 || std::abs(py - 0.5) > p.simpleMatteSize[1] / 2))
        continue;
      result.image.texels[index] =
          p.blendType == QVG_BLEND_NONE ? s : Blend(p.blendType, s, target.texels[index], shortProgram);
    }
  }
  return result;
}

}  // namespace qvg::reference
