in vec2 io_texcoord;
// Centres of the outermost texels of the frame.
flat in vec4 io_bounds;
#if defined(KEY) || defined(SHARPEN)
flat in vec2 io_texelSize;
#endif
layout(location = 0) out vec4 FragColor;

// Sampled without filtering: every coordinate is a texel's centre.
uniform sampler2D main_texture;

vec4 frameAt(vec2 coord) { return texture(main_texture, coord); }
