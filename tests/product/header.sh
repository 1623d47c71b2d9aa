#!/bin/bash
# header.sh HEADER CC CXX: the public header compiles alone, as strict C99 and as C++20.
set -eu
"$2" -std=c99 -pedantic -Wall -Wextra -Wstrict-prototypes -Werror -fsyntax-only -x c "$1"
"$3" -std=c++20 -pedantic -Wall -Wextra -Wold-style-cast -Werror -fsyntax-only -x c++ "$1"
