layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;

uniform mat4 mvpMat;
uniform vec2 uvRateY;
uniform vec2 uvRateU;
uniform vec2 uvRateV;
uniform vec2 uvRateUV;

// The fragment's position in each plane: linear over the quad, so it needn't be computed per fragment.
out vec2 coordY;
out vec2 coordU;
out vec2 coordV;
out vec2 coordUV;

void main() {
  gl_Position = mvpMat * vec4(position, 1.0);
  coordY = texcoord * uvRateY;
  coordU = texcoord * uvRateU;
  coordV = texcoord * uvRateV;
  coordUV = texcoord * uvRateUV;
}
