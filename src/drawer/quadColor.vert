layout(location = 0) in vec3 position;
layout(location = 1) in vec2 texcoord;
layout(location = 2) in vec3 color;

uniform mat4 mvpMat;

out vec3 io_position;
out vec2 io_texcoord;
out vec3 io_color;

void main() {
  gl_Position = mvpMat * vec4(position.xyz, 1.0f);
  io_position = position;
  io_texcoord = texcoord;
  io_color = color;
}
