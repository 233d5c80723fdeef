#!/usr/bin/env bash
# Runs a program under Wine, with a prefix of its own below the build folder and a screen that nobody sees.
#
#     run.sh BUILD PROGRAM [ARGUMENTS]
set -euo pipefail

build="$1" program="$2"
shift 2
command -v wine >/dev/null || { echo "SKIPPED: wine is not installed"; exit 0; }

export WINEPREFIX="$build/wine" WINEDEBUG=-all WINEARCH="${WINEARCH:-win32}" WINEDLLOVERRIDES="mscoree=;mshtml="
[ -f "$WINEPREFIX/system.reg" ] || wineboot --init >/dev/null 2>&1
cd "$build"
exec xvfb-run --auto-servernum wine "$program" "$@"
