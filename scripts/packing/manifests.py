"""The files by which package managers learn of a release, and a check of what they must say."""
import hashlib
import json
import re
import sys

IDENTIFIER = "Brixmoor.Vorda"
SCHEMA = "1.12.0"
ABOUT = "Shows what takes up the space on a disk, and frees it safely"
LICENCE = "Not chosen yet"


def sha256(path):
    return hashlib.sha256(path.read_bytes()).hexdigest()


def yaml(kind, lines):
    head = f"# yaml-language-server: $schema=https://aka.ms/winget-manifest.{kind}.{SCHEMA}.schema.json\n"
    return head + "\n".join([*lines, f"ManifestType: {kind}", f"ManifestVersion: {SCHEMA}"]) + "\n"


def winget(version, address, setup, archive, site):
    common = [f"PackageIdentifier: {IDENTIFIER}", f"PackageVersion: {version}"]
    installers = [*common, "MinimumOSVersion: 10.0.17763.0", "UpgradeBehavior: install", "Installers:"]
    for scope, switch in (("machine", "/ALLUSERS"), ("user", "/CURRENTUSER")):
        installers += ["- Architecture: x64", "  InstallerType: nullsoft", f"  Scope: {scope}",
                       f"  InstallerUrl: {address}/{setup.name}", f"  InstallerSha256: {sha256(setup).upper()}",
                       "  InstallerSwitches:", f"    Silent: /S {switch}", f"    SilentWithProgress: /S {switch}",
                       "    InstallLocation: /D=<INSTALLPATH>"]
    installers += ["- Architecture: x64", "  InstallerType: zip", f"  InstallerUrl: {address}/{archive.name}",
                   f"  InstallerSha256: {sha256(archive).upper()}", "  NestedInstallerType: portable",
                   "  NestedInstallerFiles:", "  - RelativeFilePath: vorda.com", "    PortableCommandAlias: vorda"]
    locale = [*common, "PackageLocale: en-US", "Publisher: Brixmoor", f"PublisherUrl: {site}",
              "PackageName: Vorda", f"License: {LICENCE}", f"ShortDescription: {ABOUT}", "Moniker: vorda"]
    return {f"winget/{IDENTIFIER}.yaml": yaml("version", [*common, "DefaultLocale: en-US"]),
            f"winget/{IDENTIFIER}.installer.yaml": yaml("installer", installers),
            f"winget/{IDENTIFIER}.locale.en-US.yaml": yaml("defaultLocale", locale)}


def scoop(version, address, archive, site):
    later = f"{address.replace(version, '$version')}/{archive.name.replace(version, '$version')}"
    return {"scoop/vorda.json": json.dumps({
        "version": version, "description": ABOUT, "homepage": site, "license": LICENCE,
        "architecture": {"64bit": {"url": f"{address}/{archive.name}", "hash": sha256(archive)}},
        "bin": ["vorda.com"], "shortcuts": [["vorda.exe", "Vorda"]],
        "checkver": {"url": site, "regex": r"vorda-([\d.]+)\.zip"},
        "autoupdate": {"architecture": {"64bit": {"url": later}}}}, indent=4) + "\n"}


def chocolatey(version, address, setup, site):
    nuspec = f"""<?xml version="1.0" encoding="utf-8"?>
<package xmlns="http://schemas.microsoft.com/packaging/2015/06/nuspec.xsd">
  <metadata>
    <id>vorda</id>
    <version>{version}</version>
    <title>Vorda</title>
    <authors>Brixmoor</authors>
    <projectUrl>{site}</projectUrl>
    <tags>vorda disk space cleanup</tags>
    <summary>{ABOUT}</summary>
    <description>{ABOUT}.</description>
  </metadata>
  <files>
    <file src="tools\\**" target="tools" />
  </files>
</package>
"""
    install = f"""$ErrorActionPreference = 'Stop'
Install-ChocolateyPackage -PackageName 'vorda' -FileType 'exe' -SilentArgs '/S /ALLUSERS' `
  -Url64bit '{address}/{setup.name}' -Checksum64 '{sha256(setup)}' -ChecksumType64 'sha256'
"""
    remove = """$ErrorActionPreference = 'Stop'
$key = Get-UninstallRegistryKey -SoftwareName 'Vorda'
Uninstall-ChocolateyPackage -PackageName 'vorda' -FileType 'exe' -SilentArgs '/S' -File $key.UninstallString.Trim('"')
"""
    return {"chocolatey/vorda.nuspec": nuspec, "chocolatey/tools/chocolateyInstall.ps1": install,
            "chocolatey/tools/chocolateyUninstall.ps1": remove}


def texts(out, version, site):
    setup, archive = out / f"vorda-{version}-setup.exe", out / f"vorda-{version}.zip"
    address = f"{site.rstrip('/')}/vorda/{version}"
    return {**winget(version, address, setup, archive, site), **scoop(version, address, archive, site),
            **chocolatey(version, address, setup, site)}


def write(out, version, site):
    for name, text in texts(out, version, site).items():
        (out / name).parent.mkdir(parents=True, exist_ok=True)
        (out / name).write_text(text, encoding="utf-8")
    faults = faults_of(out, version)
    if faults:
        sys.exit("\n".join(faults))


# ---- the check -----------------------------------------------------------------------------------

NEEDED = {
    f"winget/{IDENTIFIER}.yaml": ("PackageIdentifier", "PackageVersion", "DefaultLocale", "ManifestType", "ManifestVersion"),
    f"winget/{IDENTIFIER}.installer.yaml": (
        "PackageIdentifier", "PackageVersion", "Installers", "Architecture", "InstallerType", "NestedInstallerType",
        "NestedInstallerFiles", "RelativeFilePath", "PortableCommandAlias", "InstallerUrl", "InstallerSha256",
        "InstallerSwitches", "UpgradeBehavior", "ManifestType", "ManifestVersion"),
    f"winget/{IDENTIFIER}.locale.en-US.yaml": (
        "PackageIdentifier", "PackageVersion", "PackageLocale", "Publisher", "PackageName", "License",
        "ShortDescription", "ManifestType", "ManifestVersion"),
}


def faults_of(out, version):
    """What is wrong with the files for package managers, one line for each fault."""
    faults = []
    hashes = {path.name: sha256(path) for path in out.iterdir() if path.suffix in (".zip", ".exe")}
    for name, keys in NEEDED.items():
        text = (out / name).read_text(encoding="utf-8")
        said = dict(re.findall(r"^[- ]*(\w+): *(.*)$", text, re.MULTILINE))
        faults += [f"{name}: no {key}" for key in keys if key not in said]
        if said.get("PackageVersion") != version or said.get("ManifestVersion") != SCHEMA:
            faults.append(f"{name}: another version")
        for address, digest in re.findall(r"InstallerUrl: (\S+)\n\s*InstallerSha256: (\S+)", text):
            if hashes.get(address.rsplit("/", 1)[1]) != digest.lower():
                faults.append(f"{name}: the hash of {address} is not that of the file")
    document = json.loads((out / "scoop/vorda.json").read_text(encoding="utf-8"))
    for key in ("version", "description", "homepage", "license", "architecture", "bin", "checkver", "autoupdate"):
        if key not in document:
            faults.append(f"scoop: no {key}")
    one = document.get("architecture", {}).get("64bit", {})
    if hashes.get(one.get("url", "/").rsplit("/", 1)[1]) != one.get("hash") or document.get("version") != version:
        faults.append("scoop: another file or version")
    install = (out / "chocolatey/tools/chocolateyInstall.ps1").read_text(encoding="utf-8")
    address, digest = re.search(r"-Url64bit '(.*?)' -Checksum64 '(.*?)'", install).groups()
    if hashes.get(address.rsplit("/", 1)[1]) != digest:
        faults.append("chocolatey: the hash is not that of the installer")
    if f"<version>{version}</version>" not in (out / "chocolatey/vorda.nuspec").read_text(encoding="utf-8"):
        faults.append("chocolatey: another version")
    return faults
