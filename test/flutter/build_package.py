#!/usr/bin/env python3
"""Builds the package as the platform's tooling would: copies it into a folder that is only read and has a space in its
path, writes the registrant that follows from its pubspec.yaml, builds both with clang in a stand-in application, runs
that, and looks whether the copy is as it was.

usage: build_package.py SOURCE_FOLDER WORK_FOLDER CMAKE PROCESSOR FLUTTER_LIBRARY [EMULATOR...]

The library is then WORK_FOLDER/liborbisk_plugin.so.
"""

import os
import pathlib
import re
import shutil
import stat
import subprocess
import sys

import yaml

TRIPLE = "aarch64-linux-gnu"


def not_of_the_package(folder, names):
    return [name for name in names
            if name in ("build", "out", ".git", "__pycache__") or pathlib.Path(folder, name, "CMakeCache.txt").exists()]


def remove(folder):
    """Also what is only readable."""
    if folder.exists():
        for path in [folder, *folder.rglob("*")]:
            if path.is_dir() and not path.is_symlink():
                path.chmod(stat.S_IRWXU)
        shutil.rmtree(folder)


def copy_only_readable(source, target):
    shutil.copytree(source, target, ignore=not_of_the_package)
    for path in [target, *target.rglob("*")]:
        path.chmod(path.stat().st_mode & ~(stat.S_IWUSR | stat.S_IWGRP | stat.S_IWOTH))


def contents(folder):
    """For root, whom no missing right keeps from writing."""
    return {str(path): (path.lstat().st_mtime_ns, path.lstat().st_size) for path in [folder, *folder.rglob("*")]}


def registrant(pubspec):
    plugin_class = pubspec["flutter"]["plugin"]["platforms"]["elinux"]["pluginClass"]
    header = re.sub(r"(?<!^)(?=[A-Z])", "_", plugin_class).lower()
    return f"""#include <{pubspec["name"]}/{header}.h>

extern "C" void RegisterPlugins(FlutterDesktopPluginRegistrar* registrar);

extern "C" void RegisterPlugins(FlutterDesktopPluginRegistrar* registrar) {{
  {plugin_class}RegisterWithRegistrar(registrar);
}}
"""


def main():
    source, work = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2])
    cmake, processor, flutter_library, *emulator = sys.argv[3:]
    remove(work)
    package = work / "a package" / "orbisk"
    links, build = work / "an application" / "links", work / "an application" / "build"
    copy_only_readable(source, package)
    before = contents(package)
    links.mkdir(parents=True)
    (links / "orbisk").symlink_to(package)
    registrant_file = links.parent / "registrant.cc"
    registrant_file.write_text(registrant(yaml.safe_load((package / "pubspec.yaml").read_text())))

    compilers = ["-DCMAKE_C_COMPILER=clang", "-DCMAKE_CXX_COMPILER=clang++"]
    if processor != os.uname().machine:
        compilers += [f"-DCMAKE_TOOLCHAIN_FILE={source}/cmake/{TRIPLE}.cmake",
                      f"-DCMAKE_C_COMPILER_TARGET={TRIPLE}", f"-DCMAKE_CXX_COMPILER_TARGET={TRIPLE}"]
    configured = subprocess.run(
        [cmake, "-S", source / "test/flutter/application", "-B", build, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
         f"-DFLUTTER_LIBRARY={flutter_library}", f"-DPLUGIN_LINKS={links}", f"-DREGISTRANT={registrant_file}",
         f"-DEMBEDDER={source}/test/package/consumer/main.c", *compilers],
        stdout=subprocess.PIPE, stderr=subprocess.STDOUT, text=True)
    if configured.returncode != 0 or "Warning" in configured.stdout:
        sys.exit(configured.stdout)
    subprocess.run([cmake, "--build", build], check=True)
    library = build / "plugins/orbisk/liborbisk_plugin.so"

    environment = {**os.environ, "LD_LIBRARY_PATH": f"{library.parent}:{pathlib.Path(flutter_library).parent}"}
    said = subprocess.run([*emulator, build / "application"], env=environment, check=True, stdout=subprocess.PIPE,
                          text=True).stdout
    if "Plugin initialized" not in said or "Plugin destroyed" not in said or "channel: orbisk" not in said:
        sys.exit(f"The application said:\n{said}")
    if contents(package) != before:
        sys.exit("The build has written into the package's folder")
    shutil.copy(library, work / library.name)


main()
