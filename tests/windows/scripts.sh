#!/usr/bin/env bash
# Registers the DLLs, lets each script of the folder scripts drive them under cscript, compares what it prints with the
# file NAME.txt beside it, unregisters, and compares the registry with what it was. Documents travel: one made by the
# program on this side is converted by a script, and what scripts made is checked and read here.
#
#     scripts.sh BUILD VMLIB
set -euo pipefail

build="$1" vmlib="$2" here="$(cd "$(dirname "$0")" && pwd)"
examples="$here/../../examples"
command -v wine >/dev/null || { echo "SKIPPED: wine is not installed"; exit 0; }
[ -x "$vmlib" ] || { echo "SKIPPED: $vmlib is not built"; exit 0; }
folder="$(mktemp -d)"
trap 'rm -rf "$folder"' EXIT
dlls=(vmdengine vmlib converter)
export VMLIB_DESKTOP=none VMLIB_USER=tester

run() { timeout 120 "$here/run.sh" "$build" "$@" 2>/dev/null | tr -d '\r'; }
windows() { printf 'Z:%s' "${1//\//\\}"; }
registry() {
    run regedit.exe /E "$(windows "$1.utf16")" 'HKEY_LOCAL_MACHINE\Software\Classes'
    iconv -f UTF-16 -t UTF-8 "$1.utf16" | tr -d '\r' >"$1"
}
failed=0
fail() { echo "FAILED: $1"; failed=1; }

for version in 1 2; do "$vmlib" layout import "$folder/layout$version.mdb" <"$examples/orders-v$version.json"; done
"$vmlib" create "$folder/linux.ord" --type ORDERS --layout "$folder/layout1.mdb"
while IFS= read -r statement; do "$vmlib" query "$folder/linux.ord" "$statement" >/dev/null; done <"$examples/orders.sql"

# The script host registers itself when it is first run in a new prefix.
: >"$folder/first.vbs"
run cscript.exe //nologo "$(windows "$folder/first.vbs")"

registry "$folder/before.reg"
for dll in "${dlls[@]}"; do run regsvr32.exe /s "$(windows "$build/$dll.dll")" || fail "$dll.dll does not register"; done

for script in "$here"/scripts/*.vbs "$here"/scripts/*.js; do
    name="$(basename "${script%.*}")"
    run cscript.exe //nologo "$(windows "$script")" "$(windows "$folder")" >"$folder/$name.out" || true
    # Also what stops a script shows as a difference: Wine's cscript says nothing of it.
    diff -u "$here/scripts/$name.txt" "$folder/$name.out" || fail "$name"
done

for dll in "${dlls[@]}"; do run regsvr32.exe /s /u "$(windows "$build/$dll.dll")" || fail "$dll.dll stays registered"; done
registry "$folder/after.reg"
diff -u "$folder/before.reg" "$folder/after.reg" || fail "the registry afterwards differs"

for document in kas linux; do
    "$vmlib" check "$folder/$document.ord" || fail "$document.ord is not sound"
    python3 "$here/../tools/jetcheck.py" "$folder/$document.ord" || fail "$document.ord is not sound"
done
"$vmlib" query "$folder/linux.ord" "SELECT KlantNr, Bedrijfsnaam, Plaats FROM Klanten ORDER BY KlantNr" --json >"$folder/linux.out"
diff -u "$here/scripts/linux.json" "$folder/linux.out" || fail "what the script saved reads otherwise here"

exit "$failed"
