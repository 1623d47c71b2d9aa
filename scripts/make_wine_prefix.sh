#!/bin/bash
# Creates $WINEPREFIX, once; needs an X server. Several runs may call it at the same time.
set -eu
mkdir -p "$WINEPREFIX"
exec 9>"$WINEPREFIX.lock"
flock 9
[[ -e $WINEPREFIX/ready ]] && exit 0
# The services that Wine starts would inherit the lock.
wineboot -i 9>&-
wineserver -w 9>&-
# Managed windows wait for a window manager, two seconds each.
wine reg add 'HKCU\Software\Wine\X11 Driver' /v Managed /d N /f 9>&-
wineserver -w 9>&-
touch "$WINEPREFIX/ready"
