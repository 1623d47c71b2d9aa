in vec2 io_texcoord;
layout(location = 0) out vec4 FragColor;

uniform sampler2D main_texture;
uniform vec2 texture_size;
// Centres of the outermost texels of the frame: nothing around it may show.
uniform vec4 texture_bounds;

vec4 frameAt(vec2 coord) { return texture(main_texture, clamp(coord, texture_bounds.xy, texture_bounds.zw)); }
