#!/usr/bin/env python3
"""House rules the compiler does not check: banned calls, and the layering of the rooms of src/
(docs/architecture.md draws it). Prints each breach and exits 1 when there is any.
lint.py ROOT --graph prints the rooms' includes as they are, in the table's form."""
import collections
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")

BANNED = {
    r"\bsystem\s*\(": "system(): start processes with posix_spawn and an argument vector",
    r"\bpopen\s*\(": "popen(): no shell between the library and a process",
    r"\blocaltime\s*\(": "localtime(): not thread-safe; use os::Now()",
    r"\batoi\s*\(": "atoi(): no error report; use std::from_chars or the VB conversions",
    r"\bsprintf\s*\(": "sprintf(): unbounded; use std::to_chars",
    r"std::rand\b": "std::rand: not for anything that matters",
}

# The layering. Each room of src/ (and "library", src/library.cpp): the rooms it includes from,
# and its own headers other rooms may include; everything else in its folder is its own business.
# The arrows are the includes as they are: a new arrow, or one no include uses any more, is a
# change to this table and to docs/architecture.md. A room missing here fails.
ROOMS = {
    "errors":    ("", "catalogue error_map"),
    "os":        ("errors", "attributes clock directory_watch file_io files paths process process_table"),
    "vbcompat":  ("errors os", "cp1252 dates text vbconv"),
    "ini":       ("errors os vbcompat", "profile profile_rules"),
    "xml":       ("os vbcompat", "xml"),
    "soap":      ("errors os xml", "soap_client"),
    "fonts":     ("vbcompat", "font_metrics"),
    "core":      ("audit errors ini os vbcompat xml", "boundary context layout start_up"),
    "audit":     ("core errors ini os vbcompat", "audit_record trail_queue trail_store"),
    "messages":  ("core errors os vbcompat xml", "identifier"),
    "executor":  ("core errors ini messages os soap vbcompat xml", "service_tls"),
    "interface": ("audit core errors messages os pdf vbcompat", ""),
    "pdf":       ("errors fonts os vbcompat", ""),
    "barcode":   ("errors os vbcompat", "modules"),
    "receipt":   ("barcode core messages os pdf vbcompat", ""),
    "capi":      ("core errors interface messages vbcompat", ""),
    "library":   ("executor os vbcompat", ""),
}
# The room behind each header of include/velmora/; None for the vocabulary every room shares.
OWNER = {
    "export.h": None, "version.h": None, "collection.h": None, "error.h": "errors",
    "error_codes.h": "errors", "core.h": "core",
    "messages.h": "messages", "executor.h": "executor", "interface.h": "interface",
    "pending.h": "interface", "pdf.h": "pdf", "barcode.h": "barcode", "velmora.h": "capi",
    "tools.h": "library",
}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)
SOURCES = {".h", ".hpp", ".cpp", ".c"}

problems = []
used = collections.defaultdict(set)
rooms_here = {p.name for p in (root / "src").iterdir() if p.is_dir()}
for room in sorted(rooms_here - ROOMS.keys()):
    problems.append(f"src/{room}/: a room the lint's table does not know (see docs/architecture.md)")
for room in sorted(rooms_here):
    if not (root / "src" / room / "README.md").exists():
        problems.append(f"src/{room}/: no README.md saying what the room owns and may include")
for header in sorted(p.name for p in (root / "include/velmora").glob("*.h") if p.name not in OWNER):
    problems.append(f"include/velmora/{header}: a public header the lint's OWNER table does not know")


def room_of(rel):
    if rel[0] == "src":
        return rel[1] if len(rel) > 2 else "library"
    if rel[0] == "include":
        return OWNER.get(rel[-1])
    return None


def check_include(where, room, inc):
    parts = inc.split("/")
    if parts[0] == "velmora":
        target = OWNER.get(parts[-1])
    elif parts[0] in rooms_here and len(parts) == 2:
        target = parts[0]
        if target != room and parts[1].rsplit(".", 1)[0] not in ROOMS.get(target, ("", ""))[1].split():
            problems.append(f"{where}: includes {inc}, which is not one of {target}'s public headers")
    else:
        return
    if target is None or target == room:
        return
    used[room].add(target)
    if room in ROOMS and target not in ROOMS[room][0].split():
        problems.append(f"{where}: includes {inc} from '{target}', which is not among {room}'s rooms")


def check_tool_include(path, where, inc):
    parts = inc.split("/")
    if parts[0] == "velmora" and len(parts) == 2 and (root / "include" / inc).exists():
        return
    if (path.parent / inc).exists() or any((d / inc).exists() for d in (root / "tools").iterdir()):
        return
    problems.append(f"{where}: includes {inc}; a tool includes velmora/*.h and its own headers only")


files = [p for top in ("src", "tools", "include") for p in sorted((root / top).glob("**/*"))]
for path in files:
    if path.suffix not in SOURCES:
        continue
    rel = path.relative_to(root).parts
    where = "/".join(rel)
    text = path.read_text(encoding="utf-8", errors="replace")
    code = re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S)
    code = re.sub(r'"(?:\\.|[^"\\\n])*"', '""', code)
    for pattern, why in BANNED.items():
        for m in re.finditer(pattern, code):
            problems.append(f"{where}:{code.count(chr(10), 0, m.start()) + 1}: {why}")
    for inc in INCLUDE.findall(text):
        if rel[0] == "tools":
            check_tool_include(path, where, inc)
        elif room_of(rel):
            check_include(where, room_of(rel), inc)

if "--graph" in sys.argv:
    for room in sorted(rooms_here | {"library"}):
        print(f'    "{room}": "{" ".join(sorted(used[room]))}",')
    sys.exit(0)
for room, (allowed, _) in ROOMS.items():
    for target in sorted(set(allowed.split()) - used[room]):
        problems.append(f"lint table: {room} may include {target} and nothing does; drop the arrow here and in docs/architecture.md")

for p in problems:
    print(p)
print(f"lint: {len(problems)} problem(s)")
sys.exit(1 if problems else 0)
