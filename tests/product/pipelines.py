#!/usr/bin/env python3
"""pipelines.py PLUGIN_FOLDER PAGE: runs the pipelines that a page shows, and looks at their pictures.

The camera is a picture of a red square before a green screen, files are made here, and what shows pictures, or hands
them to a device, writes them to files; the rest of a pipeline runs as it stands, networks over the loopback. Those
whose elements are not installed are named. Every pipeline of the page has a row in CASES, or is another one's receiver.
"""
import os
import pathlib
import re
import signal
import subprocess
import sys
import tempfile
import time
import typing

FRAMES = 40
CAMERA = f"filesrc location=camera.png ! pngdec ! imagefreeze num-buffers={FRAMES}"
PICTURES = "videoconvert ! video/x-raw,format=RGB ! pngenc ! multifilesink location=out-%03d.png"
MATERIAL = f"""
convert -size 320x240 'xc:rgb(0,177,64)' -fill 'rgb(200,40,40)' -draw 'rectangle 120,80 199,159' camera.png
convert -size 400x100 'xc:rgb(40,60,200)' -quality 100 room.jpg
convert -size 120x120 'xc:rgb(90,90,90)' logo.png
convert -size 100x80 xc:white shape.png
gst-launch-1.0 -q {CAMERA} ! videoconvert ! vp8enc deadline=1 target-bitrate=4000000 ! mux. \
  audiotestsrc num-buffers={FRAMES} ! opusenc ! mux. webmmux name=mux ! filesink location=talk.webm
"""
SHOW_GREY = ("gst-launch-1.0 -q videotestsrc pattern=solid-color foreground-color=0xff5a5a5a "
             "! video/x-raw,width=200,height=200 ! qvgsink")
SHOW_FILE = f"gst-launch-1.0 -q filesrc location=keyed.webm ! decodebin ! {PICTURES}"

GREEN, RED, BLUE, WHITE, GREY = (0, 177, 64), (200, 40, 40), (40, 60, 200), (255, 255, 255), (90, 90, 90)
KEYED = {(20, 20): BLUE, (300, 220): BLUE, (160, 120): RED}
ENDLESS = {"imagefreeze ": f"imagefreeze num-buffers={FRAMES} ", "pattern=ball": f"pattern=white num-buffers={FRAMES}"}

class Case(typing.NamedTuple):
    part: str  # Of the pipeline's text, and of no other's.
    points: dict  # The colours of a picture in the middle.
    changes: dict = {}  # Of the text.
    before: str = ""  # What runs when it starts, and
    after: str = ""  # what is started two seconds later: pipelines, or parts of pipelines of the page.


CASES = [
    Case("v4l2sink", KEYED),
    Case("bgfile=room.jpg ! qvgsink", KEYED),
    Case("srtsink", {(40, 40): GREY, (1610, 850): (0, 0, 0), (1760, 960): RED},
         {"ximagesrc": f"ximagesrc num-buffers={FRAMES}", "framerate=30": "framerate=5",
          "key-int-max=60": "key-int-max=5"}, SHOW_GREY, "srtsrc"),
    Case("udpsink", KEYED, before="udpsrc"),
    Case("sink_1::rotation=10", {(300, 200): GREEN, (160, 130): RED, (80, 80): (58, 190, 118), (22, 22): GREEN},
         ENDLESS),
    Case("sink_1::matte=sink_2", {(45, 35): GREEN, (130, 100): RED, (35, 25): WHITE, (145, 115): WHITE,
                                  (600, 300): WHITE}, ENDLESS),
    Case("location=keyed.webm", KEYED),
]


def adapted(pipeline, changes):
    for old, new in changes.items():
        pipeline = pipeline.replace(old, new)
    live = " is-live=true ! video/x-raw,framerate=5/1" if re.search("srtsink|udpsink", pipeline) else ""
    pipeline = pipeline.replace("v4l2src", CAMERA + live).replace("gst-launch-1.0", "gst-launch-1.0 -q")
    return re.sub(r"v4l2sink( device=\S+)?|qvgsink$", PICTURES, pipeline, flags=re.M)


def run(pipeline, before, after, folder):
    """What it said, and whether it ended well. The others are ended with it."""
    log = folder / "log"
    with open(log, "w", encoding="utf-8") as output:
        def start(command):
            return subprocess.Popen(["bash", "-c", "exec " + command], cwd=folder, stdout=output, stderr=output)

        others = [start(before)] if before else []
        time.sleep(2 if before else 0)
        main = start("timeout 90 " + pipeline)
        if after:
            time.sleep(2)
            others.append(start(after))
        well = main.wait() == 0
        time.sleep(1 if others else 0)
        for other in others:
            other.send_signal(signal.SIGINT)
            other.wait(20)
    return log.read_text(encoding="utf-8").strip(), well


def wrong_colors(folder, points):
    pictures = sorted(folder.glob("out-*.png"))
    if not pictures:
        return ["no picture came out"]
    width, height = map(int, subprocess.run(["identify", "-format", "%w %h", pictures[0]], check=True,
                                            stdout=subprocess.PIPE, text=True).stdout.split())
    picture = pictures[len(pictures) // 2]
    data = subprocess.run(["convert", picture, "-depth", "8", "rgb:-"], check=True, stdout=subprocess.PIPE).stdout
    faults = []
    for (x, y), wanted in points.items():
        got = tuple(data[3 * (y * width + x):][:3])
        if x >= width or y >= height or any(abs(a - b) > 20 for a, b in zip(wanted, got)):
            faults.append(f"{got} at {x}, {y} of {width} x {height}, {wanted} expected")
    return faults


def check(case, pipelines, folder):
    """The faults, or None when elements are missing; and the pipelines of the page that took part."""
    found = [pipeline for pipeline in pipelines if case.part in pipeline]
    if len(found) != 1:
        return [f"in {len(found)} pipelines of the page"], found
    of_page = {other: next((p for p in pipelines if other and other in p), None) for other in (case.before, case.after)}
    beside = [adapted(of_page[other], {}) if of_page[other] else other for other in (case.before, case.after)]
    used = [*found, *filter(None, of_page.values())]
    subprocess.run(["bash", "-ec", MATERIAL], cwd=folder, check=True)
    said, well = run(adapted(found[0], case.changes), *beside, folder)
    if absent := re.search(r'no element "(\S+)"', said):
        print(f"not run, as there is no {absent.group(1)}: {case.part}")
        return None, used
    if well and "keyed.webm" in case.part:
        said, well = run(SHOW_FILE, "", "", folder)
    return wrong_colors(folder, case.points) if well else ["did not end well: " + said], used


def main():
    if "DISPLAY" not in os.environ:
        screen = ["xvfb-run", "-a", "-s", "-screen 0 1280x1024x24 -nolisten tcp -noreset"]
        os.execvp(screen[0], [*screen, sys.executable, *sys.argv])
    text = pathlib.Path(sys.argv[2]).read_text(encoding="utf-8")
    pipelines = [block.replace("\\\n", " ").strip() for block in re.findall(r"^```sh\n(.*?)^```$", text, re.M | re.S)
                 if "gst-launch-1.0" in block]
    faults, ran, shown = [], 0, set()
    with tempfile.TemporaryDirectory() as registry:
        os.environ["GST_PLUGIN_PATH"] = str(pathlib.Path(sys.argv[1]).resolve())
        os.environ["GST_REGISTRY"] = str(pathlib.Path(registry, "registry"))
        for case in CASES:
            with tempfile.TemporaryDirectory() as folder:
                found, used = check(case, pipelines, pathlib.Path(folder))
            shown.update(used)
            if found is not None:
                ran += 1
                faults += [f"{case.part}: {fault}" for fault in found]
    faults += [f"no case for: {pipeline}" for pipeline in pipelines if pipeline not in shown]
    print("\n".join(faults) or f"{ran} pipelines ran")
    return 1 if faults or not ran else 0


if __name__ == "__main__":
    sys.exit(main())
