#!/usr/bin/env python3
"""guide.py BUILD_FOLDER PAGE...: the pages' C and C++ compiles, programs do what they show, links lead somewhere.

A block with a main function is a program: it is run, and the last line that it prints stands on its page. All others
are fragments, which only have to compile, among the names that FRAME declares.
"""
import os
import pathlib
import re
import subprocess
import sys
import tempfile

ROOT = pathlib.Path(__file__).resolve().parents[2]
COMPILERS = {"c": ["cc", "-std=c99"], "cpp": ["c++", "-std=c++17"]}
FRAME = """
#include <qvGLRenderer/qvGLRenderer.h>
#include <stdlib.h>
extern const QVGGLRendererInterface* gl;
extern QVGGLContext* context;
extern QVGTexture *texture, *source, *target;
extern QVGFrameBuffer* frameBuffer;
extern QVGColor noMatte;
extern uint8_t *luma, *chroma;
extern int32_t lumaStride, chromaStride, width, height;
extern uint32_t windowWidth, windowHeight;
extern void *window, *queue;
void encode(const uint8_t* y, int yStride, const uint8_t* uv, int uvStride, int width, int height);
void push(void* queue, QVGTexture* texture);
void putHostContextAside(void);
void takeHostContextUp(void);
QVGHostImage* loadWithWhateverYouHave(const char* path);
"""


def compile_block(language, code, build, flags):
    with tempfile.TemporaryDirectory() as folder:
        source = pathlib.Path(folder, "block." + language)
        source.write_text(code, encoding="utf-8")
        program = pathlib.Path(folder, "block")
        command = COMPILERS[language] + ["-Wall", "-Wextra", "-I", ROOT / "include", "-I", build / "include",
                                         "-I", build / "include/qvGLRenderer", source, *flags]
        if "-c" in flags:
            subprocess.run([*command, "-o", os.devnull], check=True)
            return ""
        subprocess.run([*command, "-o", program, "-L", build, "-lqvGLRenderer", f"-Wl,-rpath,{build}"], check=True)
        return subprocess.run([program], check=True, stdout=subprocess.PIPE, text=True).stdout


def main():
    build = pathlib.Path(sys.argv[1]).resolve()
    faults, blocks, programs = [], 0, 0
    for page in map(pathlib.Path, sys.argv[2:]):
        text = page.read_text(encoding="utf-8")
        faults += [f"{page.name}: {link} is not there" for link in re.findall(r"\]\(([^)#:]+)[)#]", text)
                   if not (page.parent / link).exists()]
        for found in re.finditer(r"^```(c|cpp)\n(.*?)^```$", text, re.M | re.S):
            language, code = found.groups()
            where = f"{page.name}:{text.count(chr(10), 0, found.start()) + 2}"
            blocks += 1
            try:
                if "int main(" in code:
                    programs += 1
                    shown = [line for line in compile_block(language, code, build, ["-Werror"]).splitlines()
                             if not line.startswith("[")]
                    if not shown or shown[-1] not in text.splitlines():
                        faults.append(f"{where}: prints {shown}, which the page does not show")
                else:
                    inside = code if re.search(r"^static", code, re.M) else f"void fragment(void) {{\n{code}}}\n"
                    compile_block(language, FRAME + inside, build, ["-Werror", "-Wno-unused", "-c"])
            except subprocess.CalledProcessError as error:
                faults.append(f"{where}: {error.cmd[0]} ended with {error.returncode}")
    print("\n".join(faults) or f"{blocks} blocks, {programs} of them programs")
    return 1 if faults or not programs else 0


if __name__ == "__main__":
    sys.exit(main())
