#!/usr/bin/env python3
"""Prints gcovr's coverage as a table, without the branches that only an exception takes.

usage: scripts/coverage_report.py coverage.json

Exits with 1 when a line or branch has not been taken that is not named below, or when one is named that has been.
"""

import json
import sys

# What no test can take: the file, the source line without its indentation (with the one before it where it is not the
# only one of its kind), how many of its branches, and why.
UNREACHABLE = [
    ("model/mesh_primitive.cpp",
     'if (!find_nested_object(primitive, "attributes", attributes) || !attributes.closed) {', 1,
     "a primitive is cut out at the brace that closes it, so an object that opens inside it closes inside it"),
    ("model/glb_loader.cpp", "if (model.meshes.empty()) {", 1,
     "loading succeeds with a mesh at least; the check guards the access to the first one"),
    ("model/glb_loader.cpp", 'glb::append(log, "fail: no meshes loaded\\n");', 0, "as above"),
    ("model/glb_loader.cpp", 'glb::append(log, "fail: no meshes loaded\\n");\nreturn false;', 0, "as above"),
    ("model/glb_loader.cpp", "if (count < 0 && errno == EINTR) continue;", 1,
     "no signal interrupts the tests"),
    ("model/glb_loader.cpp", "if (size < 0) return false;", 1,
     "a regular file's size is not negative; the check guards the conversion"),
    ("model/json_scanning.cpp", "rounds_to_smallest_normal(run.c_str()));", 1,
     "strtof underflows with that value on AArch64 alone"),
    ("client_wrapper/core_implementations.cpp",
     "FlutterDesktopMessengerSendWithReply(messenger_, channel.c_str(), message, message_size, call_and_delete,", 2,
     "frees a half-made object after an exception"),
    ("client_wrapper/core_implementations.cpp",
     "FlutterDesktopTextureRegistrarUnregisterExternalTexture(registrar_, texture_id, call_and_delete,", 2,
     "frees a half-made object after an exception"),
    ("client_wrapper/include/flutter/message_codec.h", "virtual ~MessageCodec() = default;", 0,
     "codecs live to the end of the process"),
    ("client_wrapper/include/flutter/method_codec.h", "virtual ~MethodCodec() = default;", 0,
     "codecs live to the end of the process"),
]


def main():
    with open(sys.argv[1]) as file:
        coverage = json.load(file)

    totals = [0, 0, 0, 0]
    excused = []
    failures = []
    unseen = list(UNREACHABLE)
    print(f"{'file':58} {'lines':>11} {'branches':>11}")
    for file in coverage["files"]:
        path = file["file"]
        with open(path) as source_file:
            source = [line.strip() for line in source_file]
        counts = [0, 0, 0, 0]  # lines executed, lines, branches taken, branches
        for line in file["lines"]:
            if line.get("gcovr/noncode"):
                continue
            number = line["line_number"]
            branches = [branch["count"] for branch in line["branches"] if not branch["throw"]]
            counts[0] += line["count"] > 0
            counts[1] += 1
            counts[2] += sum(count > 0 for count in branches)
            counts[3] += len(branches)
            if line["count"] > 0 and 0 not in branches:
                continue
            untaken = branches.count(0) if line["count"] > 0 else 0
            named = next((entry for entry in unseen if names(entry, path, source, number, untaken)), None)
            if named:
                unseen.remove(named)
                excused.append(f"{path}:{number}: {named[3]}")
            else:
                failures.append(f"{path}:{number}: executed {line['count']} times, branches taken {branches}: "
                                + source[number - 1])
        totals = [total + count for total, count in zip(totals, counts)]
        print(row(path, counts))
    print(row("total", totals))
    failures += [f"{path}: named as unreachable, but taken or not there: {text}" for path, text, _, _ in unseen]

    print("\nNot taken, and why no test can:")
    for text in excused:
        print("  " + text)
    for text in failures:
        print("FAILED: " + text)
    return 1 if failures else 0


def names(entry, path, source, number, untaken):
    """Whether an entry of UNREACHABLE is about this line and allows as many branches."""
    lines = entry[1].split("\n")
    return entry[0] == path and source[number - len(lines):number] == lines and entry[2] == untaken


def row(name, counts):
    executed, lines, taken, branches = counts
    return f"{name:58} {f'{executed} of {lines}':>11} {f'{taken} of {branches}':>11}"


sys.exit(main())
