layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;

uniform mat4 mvpMat;

out vec2 io_texcoord;

void main() {
  gl_Position = mvpMat * vec4(position, 1.0);
  io_texcoord = texcoord;
}
