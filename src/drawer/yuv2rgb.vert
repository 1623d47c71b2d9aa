layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;

uniform mat4 mvpMat;
uniform vec2 dstRate;
uniform vec2 dstOffset;
uniform vec2 uvRateY;
uniform vec2 uvRateU;
uniform vec2 uvRateV;
uniform vec2 uvRateUV;
uniform vec2 offsetY;
uniform vec2 offsetU;
uniform vec2 offsetV;
uniform vec2 offsetUV;

// The place of the fragment in each plane: linear over the quad, so it need not be computed a fragment.
out vec2 coordY;
out vec2 coordU;
out vec2 coordV;
out vec2 coordUV;

void main() {
  gl_Position = mvpMat * vec4(position.xyz, 1.0f);
  vec2 srcTexCoord = (texcoord - dstOffset) * dstRate;
  coordY = srcTexCoord * uvRateY + offsetY;
  coordU = srcTexCoord * uvRateU + offsetU;
  coordV = srcTexCoord * uvRateV + offsetV;
  coordUV = srcTexCoord * uvRateUV + offsetUV;
}
