#!/usr/bin/env python3
"""House rules the compiler does not check: banned calls, and that no subsystem includes from
one that comes after it. Prints each breach and exits 1 when there is any."""
import pathlib
import re
import sys

root = pathlib.Path(sys.argv[1] if len(sys.argv) > 1 else ".")

BANNED = {
    r"\bsystem\s*\(": "system(): start processes with posix_spawn and an argument vector",
    r"\bpopen\s*\(": "popen(): no shell between the library and a process",
    r"\blocaltime\s*\(": "localtime(): not thread-safe; use platform::Now()",
    r"\batoi\s*\(": "atoi(): no error report; use std::from_chars or the VB conversions",
    r"\bsprintf\s*\(": "sprintf(): unbounded; use std::to_chars",
    r"std::rand\b": "std::rand: not for anything that matters",
}

# What each subsystem may include from, by folder.
ALLOWED = {
    "platform": {"platform"},
    "core": {"platform", "core"},
    "messages": {"platform", "core", "messages"},
    "executor": {"platform", "core", "messages", "executor"},
    "interface": {"platform", "core", "messages", "interface", "pdf", "barcode", "receipt"},
    "pdf": {"platform", "pdf"},
    "barcode": {"platform", "barcode"},
    "receipt": {"platform", "core", "messages", "pdf", "barcode", "receipt"},
    "capi": {"platform", "core", "messages", "executor", "interface", "pdf", "barcode", "receipt", "capi"},
}
PUBLIC = {
    "export.h": "platform", "error.h": "platform", "collection.h": "platform", "core.h": "core",
    "messages.h": "messages", "executor.h": "executor", "interface.h": "interface", "pdf.h": "pdf",
    "barcode.h": "barcode", "velmora.h": "capi", "pending.h": "interface",
}
INCLUDE = re.compile(r'^\s*#\s*include\s+"([^"]+)"', re.M)

problems = []
for path in sorted(list(root.glob("src/**/*")) + list(root.glob("tools/**/*")) + list(root.glob("include/**/*"))):
    if path.suffix not in {".h", ".hpp", ".cpp", ".c"}:
        continue
    text = path.read_text(encoding="utf-8", errors="replace")
    code = re.sub(r"//[^\n]*|/\*.*?\*/", "", text, flags=re.S)
    code = re.sub(r'"(?:\\.|[^"\\\n])*"', '""', code)
    for pattern, why in BANNED.items():
        for m in re.finditer(pattern, code):
            line = code.count("\n", 0, m.start()) + 1
            problems.append(f"{path.relative_to(root)}:{line}: {why}")
    rel = path.relative_to(root).parts
    if rel[0] != "src" or len(rel) < 3:
        continue
    subsystem = rel[1]
    allowed = ALLOWED.get(subsystem)
    if allowed is None:
        continue
    for inc in INCLUDE.findall(text):
        parts = inc.split("/")
        if parts[0] == "velmora":
            target = PUBLIC.get(parts[-1])
        elif parts[0] in ALLOWED:
            target = parts[0]
        else:
            continue
        if target and target not in allowed:
            problems.append(f"{path.relative_to(root)}: includes {inc} from '{target}', which comes after '{subsystem}'")

for p in problems:
    print(p)
print(f"lint: {len(problems)} problem(s)")
sys.exit(1 if problems else 0)
