#!/usr/bin/env bash
# Runs a program under Wine, with a prefix of its own below the build folder and a screen that nobody sees.
#
#     run.sh BUILD PROGRAM [ARGUMENTS]
#
# BUILD holds `bits`, 32 or 64: a prefix is of one kind.
set -euo pipefail

build="$1" program="$2"
shift 2
command -v wine >/dev/null || { echo "SKIPPED: wine is not installed"; exit 0; }

export WINEPREFIX="$build/wine" WINEARCH="win$(cat "$build/bits")" WINEDEBUG=-all WINEDLLOVERRIDES="mscoree=;mshtml="
cd "$build"
[ -f "$WINEPREFIX/system.reg" ] || xvfb-run --auto-servernum wineboot --init >/dev/null 2>&1
exec xvfb-run --auto-servernum wine "$program" "$@"
