#!/usr/bin/env python3
"""Cross-builds the plug-in against a sysroot that knows nothing of Debian's multiarch: libraries lie in usr/lib. It is
made, mostly of links, from the :arm64 packages of this machine.

usage: sysroot_test.py SOURCE_FOLDER WORK_FOLDER CMAKE
"""

import pathlib
import re
import shutil
import subprocess
import sys

TRIPLE = "aarch64-linux-gnu"
LINKER_SCRIPTS = ("libc.so", "libm.so")  # text, with the libraries' absolute paths inside


def make_sysroot(root):
    include = root / "usr/include"
    include.mkdir(parents=True)
    general = [path for path in pathlib.Path("/usr/include").iterdir() if not path.name.endswith("-linux-gnu")]
    for header in [*general, *pathlib.Path("/usr/include", TRIPLE).iterdir()]:
        if not (include / header.name).exists():
            (include / header.name).symlink_to(header)

    libraries = root / "usr/lib"
    libraries.mkdir()
    for pattern in ("*.so", "*.so.*", "*.o", "*_nonshared.a"):
        for file in pathlib.Path("/usr/lib", TRIPLE).glob(pattern):
            if file.name in LINKER_SCRIPTS:
                text = re.sub(rf"(/usr)?/lib/{TRIPLE}/", "/usr/lib/", file.read_text(errors="replace"))
                (libraries / file.name).write_text(text)
            elif not (libraries / file.name).exists():
                (libraries / file.name).symlink_to(file)
    (root / "lib").mkdir()
    (root / "lib/ld-linux-aarch64.so.1").symlink_to(pathlib.Path("/usr/lib", TRIPLE, "ld-linux-aarch64.so.1"))


def main():
    source, work, cmake = pathlib.Path(sys.argv[1]), pathlib.Path(sys.argv[2]), sys.argv[3]
    shutil.rmtree(work, ignore_errors=True)
    root, build = work / "sysroot", work / "build"
    make_sysroot(root)
    subprocess.run([cmake, "--preset", "aarch64", "-B", build, f"-DORBISK_SYSROOT={root}", "-DORBISK_BUILD_HOST=OFF",
                    "-DORBISK_BUILD_TESTS=OFF"], cwd=source, check=True)
    commands = subprocess.run([cmake, "--build", build, "--verbose"], check=True, capture_output=True, text=True).stdout
    for library in ("libEGL", "libGLESv2", "libgbm", "libX11"):
        paths = set(re.findall(rf"\S*/{library}\.so\b", commands))
        if paths != {f"{root}/usr/lib/{library}.so"}:
            sys.exit(f"{library} comes from {paths}")
    header = subprocess.run(["readelf", "-hW", build / "liborbisk_plugin.so"], check=True, capture_output=True,
                            text=True).stdout
    if "AArch64" not in header:
        sys.exit(header)


main()
