#!/usr/bin/env python3
"""Makes the packages of a build and looks at what is in them.

usage: package_test.py BUILD_FOLDER CPACK PROCESSOR FORMAT     FORMAT: deb or tar.gz
"""

import pathlib
import re
import subprocess
import sys
import tarfile
import tempfile

FILES = {
    "include/orbisk/orbisk_plugin.h",
    "lib/cmake/orbisk/orbiskConfig.cmake",
    "lib/cmake/orbisk/orbiskConfigVersion.cmake",
    "lib/liborbisk_plugin.so",
    "share/doc/liborbisk-plugin/README.md",
    "share/doc/liborbisk-plugin/copyright",
    "share/doc/liborbisk-plugin/docs/architecture.md",
    "share/doc/liborbisk-plugin/docs/building.md",
    "share/doc/liborbisk-plugin/docs/channel.md",
    "share/doc/liborbisk-plugin/docs/contact_sheet.png",
    "share/doc/liborbisk-plugin/docs/flutter.md",
    "share/doc/liborbisk-plugin/docs/limits.md",
    "share/doc/liborbisk-plugin/docs/models.md",
    "share/doc/liborbisk-plugin/docs/performance.md",
    "share/doc/liborbisk-plugin/docs/performance/frame_by_pixels.svg",
    "share/doc/liborbisk-plugin/docs/performance/frame_by_vertices.svg",
    "share/doc/liborbisk-plugin/docs/performance/load_by_json.svg",
    "share/doc/liborbisk-plugin/docs/performance/load_by_vertices.svg",
    "share/doc/liborbisk-plugin/docs/testing.md",
}
DEBIAN_NAMES = {"x86_64": "amd64", "aarch64": "arm64"}
MACHINES = {"x86_64": "X86-64", "aarch64": "AArch64"}


def output_of(*command):
    return subprocess.run(command, check=True, capture_output=True, text=True).stdout


def expect(what, actual, expected):
    if actual != expected:
        sys.exit(f"{what}: {actual!r} instead of {expected!r}")


def make_package(build, cpack, generator, folder):
    subprocess.run([cpack, "-G", generator, "-B", folder], cwd=build, check=True, stdout=subprocess.DEVNULL)
    (package,) = [path for path in pathlib.Path(folder).iterdir() if path.is_file()]
    return package


def unpack_deb(package, processor, folder):
    expect("the package's name", package.name, f"liborbisk-plugin_0.1.0_{DEBIAN_NAMES[processor]}.deb")
    expect("Package", output_of("dpkg-deb", "--field", package, "Package").strip(), "liborbisk-plugin")
    expect("Architecture", output_of("dpkg-deb", "--field", package, "Architecture").strip(), DEBIAN_NAMES[processor])
    depends = {re.split(r" [(|]", entry)[0]
               for entry in output_of("dpkg-deb", "--field", package, "Depends").strip().split(", ")}
    expect("Depends", depends, {"libc6", "libstdc++6", "libgcc-s1", "libegl1", "libgles2", "libgbm1", "libx11-6"})
    subprocess.run(["dpkg-deb", "--extract", package, folder], check=True)
    return folder / "usr"


def unpack_tar(package, processor, folder):
    name = f"liborbisk-plugin-0.1.0-linux-{processor}"
    expect("the package's name", package.name, name + ".tar.gz")
    with tarfile.open(package) as archive:
        archive.extractall(folder)
    return folder / name


def main():
    build, cpack, processor, package_format = sys.argv[1:]
    with tempfile.TemporaryDirectory() as temporary:
        packages = pathlib.Path(temporary) / "packages"
        contents = pathlib.Path(temporary) / "contents"
        generator, unpack = {"deb": ("DEB", unpack_deb), "tar.gz": ("TGZ", unpack_tar)}[package_format]
        root = unpack(make_package(build, cpack, generator, packages), processor, contents)
        files = {str(path.relative_to(root)) for path in root.rglob("*") if path.is_file()}
        expect("the files", files, FILES)

        library = root / "lib/liborbisk_plugin.so"
        expect("the machine", re.search(r"Machine: +.*?(\S+)$", output_of("readelf", "-hW", library), re.M).group(1),
               MACHINES[processor])
        expect("stripped", ".symtab" in output_of("readelf", "-SW", library), False)
        symbols = output_of("nm", "--dynamic", "--defined-only", "--format=just-symbols", library).split()
        expect("the exported symbols", symbols, ["OrbiskPluginRegisterWithRegistrar"])


main()
