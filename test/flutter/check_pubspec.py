#!/usr/bin/env python3
"""pubspec.yaml says what the platform's tooling and a reader of it look for, and what the rest of the package says.

usage: check_pubspec.py PACKAGE_FOLDER
"""

import pathlib
import re
import sys

import yaml

WRONG = []


def expect(what, holds):
    if not holds:
        WRONG.append(what)


def check_plugin(root, pubspec):
    expect("name: orbisk", pubspec["name"] == "orbisk")
    expect("description of 60 to 180 characters", 60 <= len(pubspec["description"]) <= 180)
    expect("description names elinux, for which there is no tag", "elinux" in pubspec["description"])
    topics = pubspec["topics"]
    expect("at most five topics, elinux among them", len(topics) <= 5 and "elinux" in topics)
    expect("topics in small letters", all(re.fullmatch(r"[a-z][a-z0-9-]{1,31}", topic) for topic in topics))
    expect("plug-in class for elinux alone", pubspec["flutter"]["plugin"] ==
           {"platforms": {"elinux": {"pluginClass": "OrbiskPlugin"}}})
    for constraint in ("sdk", "flutter"):
        expect(f"a lowest version of {constraint}", pubspec["environment"][constraint].startswith(">="))
    expect("no dependency but flutter", list(pubspec["dependencies"]) == ["flutter"])

    version = pubspec["version"]
    changelog = re.search(r"^## (\S+)", (root / "CHANGELOG.md").read_text(), re.M).group(1)
    project = re.search(r"project\(orbisk VERSION (\S+)", (root / "CMakeLists.txt").read_text()).group(1)
    expect(f"version {version} as in CHANGELOG.md ({changelog}) and CMakeLists.txt ({project})",
           version == changelog == project)
    for file in ("LICENSE", "README.md", "analysis_options.yaml", "elinux/CMakeLists.txt", "lib/orbisk.dart"):
        expect(f"the file {file}", (root / file).is_file())


def check_example(root, package):
    pubspec = yaml.safe_load((root / "example/pubspec.yaml").read_text())
    expect("the example is not published", pubspec["publish_to"] == "none")
    expect("the example takes the package from its folder", pubspec["dependencies"]["orbisk"] == {"path": "../"})
    expect("the example's constraints are the package's", pubspec["environment"] == package["environment"])
    for asset in pubspec["flutter"]["assets"]:
        expect(f"the example's asset {asset}", (root / "example" / asset).is_file())
    code = "".join(path.read_text() for path in (root / "example/lib").rglob("*.dart"))
    for asset in re.findall(r"'(assets/[^']+)'", code):
        expect(f"{asset}, which the example names, is declared", asset in pubspec["flutter"]["assets"])


def check_exports(root):
    """Everything under lib/src is exported or is used there, and all that is exported is there."""
    exported = set(re.findall(r"^export '(src/[^']+)'", (root / "lib/orbisk.dart").read_text(), re.M))
    files = {str(path.relative_to(root / "lib")): path.read_text() for path in (root / "lib/src").rglob("*.dart")}
    expect(f"files for the exports {sorted(exported - set(files))}", exported <= set(files))
    for name in set(files) - exported:
        imported = any(f"import '{pathlib.Path(name).name}'" in text for text in files.values())
        expect(f"a use of lib/{name}", imported)
    for name, text in files.items():
        for other in re.findall(r"^import '([^:']+)'", text, re.M):
            expect(f"lib/{name}'s import {other}", (root / "lib/src" / other).is_file())


def main():
    root = pathlib.Path(sys.argv[1])
    pubspec = yaml.safe_load((root / "pubspec.yaml").read_text())
    check_plugin(root, pubspec)
    check_example(root, pubspec)
    check_exports(root)
    sys.exit("".join(f"missing: {what}\n" for what in WRONG) or None)


main()
