#include "media/abilities.h"

namespace qvgtool {

const Abilities& MediaAbilities() {
  static constexpr Abilities kAbilities = {
      .inputs = "Y4M stream, image (PNG, JPEG ...), numbered images (frame%03d.png), or - for standard input",
      .outputs =
          "Y4M stream (.y4m), image (.png, .jpg, .bmp, .tga: the first frame) or numbered images "
          "(frame%03d.png), or - for a Y4M stream on standard output",
      .ownOutput = "out/demo.y4m",
      .examples =
          "  qvg process photo.jpg -o out.png --size 640x480 --rotate 5 --background beach.jpg --drop-shadow 0.6\n"
          "  qvg process screen%03d.png -o keyed%03d.png --key auto\n"
          "  ffmpeg -i in.mp4 -f yuv4mpegpipe - | qvg process - -o - --blur 60 | ffmpeg -i - out.mp4\n"
          "  qvg process -o - | ffplay -\n",
      .notes =
          "This build reads and writes no compressed video and no sound: ffmpeg before and behind it does, as above.\n"
          "Colours come out as they went in. Y4M is taken and given as limited-range BT.601 up to 576 lines and "
          "BT.709\n"
          "above, unless its XCOLORRANGE says full; 8 bit 4:2:0 comes out. Times such as --from count through all "
          "inputs.\n"};
  return kAbilities;
}

}  // namespace qvgtool
