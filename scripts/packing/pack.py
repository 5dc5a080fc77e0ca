"""pack.py BUILD FOLDER: makes a release of the programs in a build tree. Called by scripts/release."""
import hashlib
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tempfile
import zipfile

import manifests
import sbom
import signing

ROOT = pathlib.Path(__file__).resolve().parents[2]
TOOL = "x86_64-w64-mingw32-"
PROGRAMS = ("vorda.exe", "vorda.com")
# What is linked into the programs has its terms in these packages of Debian.
NOTICES = (("the runtime of MinGW-w64, with winpthreads", "mingw-w64-x86-64-dev"),
           ("libstdc++ and libgcc, under the GCC Runtime Library Exception", "gcc-mingw-w64-base"))
LICENCE = "The licence of Vorda itself is not chosen yet.\n"


def run(*command, **options):
    subprocess.run([str(part) for part in command], check=True, stdout=sys.stderr, **options)


def project_version():
    text = (ROOT / "CMakeLists.txt").read_text(encoding="utf-8")
    return os.environ.get("VORDA_RELEASE_VERSION") or re.search(r"project\(vorda VERSION (\S+)", text)[1]


def maker():
    """The addresses that the build was configured with."""
    def text_of(name, build):
        cache = (build / "CMakeCache.txt").read_text(encoding="utf-8")
        return re.search(rf"^{name}:STRING=(.*)$", cache, re.MULTILINE)[1]
    return text_of


def strip(build, stage, symbols):
    """The programs without their debug symbols, which go into files of their own."""
    for name in PROGRAMS:
        shutil.copyfile(build / name, stage / name)
        sections = subprocess.run([f"{TOOL}objdump", "-h", stage / name], check=True,
                                  capture_output=True, text=True).stdout
        if ".debug_line" in sections:
            run(f"{TOOL}objcopy", "--only-keep-debug", stage / name, symbols / f"{name}.debug")
            run(f"{TOOL}strip", "--strip-all", stage / name)


def notices():
    text = "Vorda contains parts that others made. These are their terms.\n"
    for about, package in NOTICES:
        terms = pathlib.Path(f"/usr/share/doc/{package}/copyright").read_text(encoding="utf-8")
        text += f"\n{'=' * 78}\n{about}\n{'=' * 78}\n\n{terms.rstrip()}\n"
    return text


def stage_files(build, stage, symbols, version):
    strip(build, stage, symbols)
    for name in PROGRAMS:
        signing.sign(stage / name)
    api = stage / "api"
    api.mkdir()
    for name in ("API.md", "openapi.yaml"):
        shutil.copyfile(ROOT / "docs/api" / name, api / name)
    run("node", ROOT / "scripts/packing/postman.mjs", version, api / "Vorda.postman_collection.json")
    for name in ("CHANGELOG.md", "docs/troubleshooting.md"):
        shutil.copyfile(ROOT / name, stage / pathlib.Path(name).name)
    (stage / "THIRD-PARTY-NOTICES.txt").write_text(notices(), encoding="utf-8")
    (stage / "LICENCE.txt").write_text(LICENCE, encoding="utf-8")


def files_of(folder):
    return sorted(path.relative_to(folder).as_posix() for path in folder.rglob("*") if path.is_file())


def make_zip(folder, target):
    """The files of a folder, sorted, all of one date and one mode."""
    date = sbom.build_time().timetuple()[:6]
    with zipfile.ZipFile(target, "w") as archive:
        for name in files_of(folder):
            entry = zipfile.ZipInfo(name, date_time=date)
            entry.compress_type = zipfile.ZIP_DEFLATED
            entry.create_system = 0
            archive.writestr(entry, (folder / name).read_bytes(), compresslevel=9)


def make_installer(stage, target, version):
    # The installer takes the files as they are listed here, so that their order is always the same. It is
    # written beside the files, since the stub holds the path that it was made at.
    lists = {"install": "", "remove": ""}
    for name in files_of(stage):
        folder, _, _ = name.rpartition("/")
        windows = name.replace("/", "\\")
        out = "$INSTDIR" + ("\\" + folder.replace("/", "\\") if folder else "")
        lists["install"] += f'SetOutPath "{out}"\nFile "{name}"\n'
        lists["remove"] += f'Delete "$INSTDIR\\{windows}"\n'
    for name, text in lists.items():
        (stage.parent / f"{name}.nsh").write_text(text, encoding="utf-8")
    shutil.copyfile(ROOT / "src/app/vorda.ico", stage.parent / "vorda.ico")
    shutil.copyfile(ROOT / "installer/vorda.nsi", stage.parent / "vorda.nsi")
    defines = {"VERSION": version, "OUT": target.name, "LISTS": "..", "BYTES": sum(
        (stage / name).stat().st_size for name in files_of(stage)) // 1024}
    sign = signing.command_for_makensis()
    if sign:
        defines["SIGN"] = sign
    run("makensis", "-V2", "-WX", "-NOCD", *(f"-D{key}={value}" for key, value in defines.items()),
        "../vorda.nsi", cwd=stage)
    shutil.move(stage / target.name, target)
    signing.sign(target)


def write_sums(out):
    names = [name for name in files_of(out) if name != "SHA256SUMS"]
    lines = [f"{hashlib.sha256((out / name).read_bytes()).hexdigest()}  {name}\n" for name in names]
    (out / "SHA256SUMS").write_text("".join(lines), encoding="utf-8")


def main():
    build, out = (pathlib.Path(argument).resolve() for argument in sys.argv[1:])
    version = project_version()
    if out.exists():
        shutil.rmtree(out)
    out.mkdir(parents=True)
    with tempfile.TemporaryDirectory() as scratch:
        stage, symbols = pathlib.Path(scratch, "stage"), pathlib.Path(scratch, "symbols")
        stage.mkdir()
        symbols.mkdir()
        stage_files(build, stage, symbols, version)
        make_zip(stage, out / f"vorda-{version}.zip")
        if files_of(symbols):
            make_zip(symbols, out / f"vorda-{version}-symbols.zip")
        files = {name: (stage / name).read_bytes() for name in files_of(stage)}
        (out / f"vorda-{version}.spdx.json").write_text(sbom.document(version, files), encoding="utf-8")
        make_installer(stage, out / f"vorda-{version}-setup.exe", version)
    address = maker()("VORDA_WEB_SITE", build)
    manifests.write(out, version, address)
    write_sums(out)
    for name in files_of(out):
        print(f"{(out / name).stat().st_size:9} {name}")


main()
