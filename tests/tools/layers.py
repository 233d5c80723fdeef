#!/usr/bin/env python3
"""Every include under src/ follows a link between the targets; prints one line for each that does not.

A target may include headers of the targets that it links and of what those link PUBLIC. The linker cannot tell: in a
program that links everything a wrong include finds its symbols too.
"""
import pathlib
import re
import sys

ROOT = pathlib.Path(__file__).resolve().parents[2] / "src"


def links():
    """For each target: those it links, and the PUBLIC ones among them."""
    linked, public = {}, {}
    files = [ROOT / "CMakeLists.txt", *ROOT.glob("*/CMakeLists.txt"), *ROOT.glob("*/com/CMakeLists.txt")]
    text = "\n".join(path.read_text() for path in files)
    calls = re.findall(r"vmlib_library\((\w+)([^)]*)\)|target_link_libraries\(vmlib_(\w+)([^)]*)\)", text)
    for name, rest, other, otherRest in calls:
        target, is_public = name or other, False
        linked.setdefault(target, set())
        public.setdefault(target, set())
        for word in (rest or otherRest).split():
            if word in ("PUBLIC", "PRIVATE"):
                is_public = word == "PUBLIC"
            elif word.startswith("vmlib::"):
                linked[target].add(word.removeprefix("vmlib::"))
                if is_public:
                    public[target].add(word.removeprefix("vmlib::"))
    return linked, public


def reachable(target, linked, public):
    found, todo = {target}, list(linked[target])
    while todo:
        other = todo.pop()
        if other not in found:
            found.add(other)
            todo += public.get(other, ())
    return found


def target_of(relative, targets):
    """src/platform/posix is a target of its own beside src/platform; what one server serves is above the rest of com."""
    parts = relative.split("/")
    if parts[-1] in ("LibraryServer.cpp", "EngineServer.cpp"):
        return "server"
    nested = "com" if parts[1:2] == ["com"] else "_".join(parts[:2])
    return nested if len(parts) > 2 and nested in targets else parts[0]


def main():
    linked, public = links()
    linked["server"] = {"com", "component", "engine", "platform"}
    faults = files = 0
    for path in sorted(ROOT.rglob("*")):
        if path.suffix not in (".h", ".cpp") or path.parent == ROOT / "host" and path.name == "main.cpp":
            continue  # the program itself links everything
        files += 1
        relative = path.relative_to(ROOT).as_posix()
        allowed = reachable(target_of(relative, linked), linked, public)
        for number, line in enumerate(path.read_text().splitlines(), 1):
            include = re.match(r'#include "([^"]+)"', line)
            if include and target_of(include[1], linked) not in allowed:
                print(f"src/{relative}:{number}: includes {include[1]}, which its target does not link")
                faults += 1
    if not faults:
        print(f"ok {files} files follow the links of {len(linked)} targets")
    return 1 if faults or not files else 0


if __name__ == "__main__":
    sys.exit(main())
