#include "media/abilities.h"

namespace qvgtool {

const Abilities& MediaAbilities() {
  static constexpr Abilities kAbilities = {
      .capture = true,
      .sound = true,
      .subtitles = true,
      .encoders = true,
      .gpuYuv = true,
      .inputs = "Video, image, numbered images (frame%03d.png), or - for a stream (such as Y4M) on standard input",
      .outputs =
          "Video (.mp4, .mkv, .webm ...), image (.png, .jpg ...: the first frame) or numbered images "
          "(frame%03d.png), or - for a stream on standard output",
      .ownOutput = "out/demo.mp4",
      .examples =
          "  qvg process clip.mp4 -o out.mp4                          the clip as it is\n"
          "  qvg process clip.mp4 -o out.mp4 --scale 0.8 --rotate 5 --background beach.jpg --drop-shadow 0.6\n"
          "  qvg process photo.jpg -o out.png --size 640x480\n"
          "  qvg process title.png first.mp4 second.mp4 -o out.mp4    one after the other\n"
          "  qvg process screen.mp4 -o out.mp4 --key auto --background beach.jpg --blur 60\n"
          "  ffmpeg -i clip.mkv -f yuv4mpegpipe - | qvg process - -o out.mp4\n"
          "  qvg process screen.mp4 -o - --key auto --background-color gray | ffplay -\n",
      .notes =
          "Colours come out as they went in; the output is tagged as limited-range BT.601, but for Y4M, which has no "
          "tags and\n"
          "is BT.709 above 576 lines. High dynamic range is brought to the standard one. Sound, subtitles, chapters "
          "and titles\n"
          "are kept as far as the output can hold them; of several inputs the sound, and times such as --from count "
          "through\n"
          "all of them.\n"};
  return kAbilities;
}

}  // namespace qvgtool
