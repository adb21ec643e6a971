#!/usr/bin/env python3
"""package.py [--linux <build>] [--windows <build>] [--dist <directory>]: makes the packages of two builds.

The same builds give the same bytes: the date of every file is that of the newest version in CHANGELOG.md, and
neither clock, time zone, umask, locale nor the directory has a say."""
import argparse
import base64
import calendar
import concurrent.futures
import gzip
import hashlib
import io
import os
import pathlib
import re
import subprocess
import sys
import tarfile
import tempfile
import time
import zipfile
from xml.sax.saxutils import escape

ROOT = pathlib.Path(__file__).resolve().parent.parent
AUTHORS = "The authors of tllogics"
MAINTAINER = f"{AUTHORS} <authors@tllogics.invalid>"
SUMMARY = "Driver of a Tellarion cash unit"
DESCRIPTION = ("Drives a Tellarion, a closed cash unit that takes in, holds and pays out notes and coins, from a "
               "point-of-sale application. No licence has been chosen by the owner.")
TRIPLET = "x86_64-linux-gnu"
# What is compiled in, by the Debian package that has its notice.
HEADERS = {"boost": "libboost-dev", "cli11": "libcli11-dev", "fmt": "libfmt-dev", "json": "nlohmann-json3-dev"}
WINDOWS_PARTS = {"mingw-w64": "mingw-w64-common"}


def fail(complaint):
    sys.exit(f"package.py: {complaint}")


def run(*command, **options):
    """What it prints."""
    done = subprocess.run([str(word) for word in command], capture_output=True, text=True, check=False, **options)
    if done.returncode != 0:
        fail(f"{' '.join(map(str, command))}: exit status {done.returncode}\n{done.stdout}{done.stderr}")
    return done.stdout


def read_version():
    """The version, and the date of its release in seconds; the header and CHANGELOG.md must agree."""
    header = (ROOT / "api/tllogics.h").read_text(encoding="utf-8")
    version = re.search(r'^#define TLLOGICS_VERSION "(.*)"$', header, re.M).group(1)
    newest = re.search(r"^## (\S+) \((\d{4}-\d\d-\d\d)\)$", (ROOT / "CHANGELOG.md").read_text(encoding="utf-8"), re.M)
    if newest is None:
        fail('CHANGELOG.md has no line "## <version> (<date>)"')
    if newest.group(1) != version:
        fail(f"CHANGELOG.md tells of {newest.group(1)} first, but api/tllogics.h says {version}")
    return version, calendar.timegm(time.strptime(newest.group(2), "%Y-%m-%d"))


VERSION, DATE = read_version()


# ---- What goes into packages: trees of files, as bytes by path ----

def installed(build, *components):
    """What "cmake --install" puts into a prefix: contents by path, that of a link as str. Into a DLL strip writes
    a time."""
    with tempfile.TemporaryDirectory() as directory:
        for component in components:
            run("cmake", "--install", build, "--prefix", directory, "--component", component,
                "--strip", env={**os.environ, "DESTDIR": "", "SOURCE_DATE_EPOCH": "0"})
        return tree(pathlib.Path(directory))


def tree(directory):
    files = {}
    for path in sorted(directory.rglob("*")):
        name = path.relative_to(directory).as_posix()
        if path.is_symlink():
            files[name] = os.readlink(path)
        elif path.is_file():
            files[name] = path.read_bytes()
    return files


def text(path):
    return (ROOT / path).read_bytes()


def notices(packages, folder):
    """The licences of what is compiled in."""
    files = {f"{folder}COPYRIGHT": text("COPYRIGHT")}
    for name, package in sorted(packages.items()):
        files[f"{folder}notices/{name}.txt"] = pathlib.Path("/usr/share/doc", package, "copyright").read_bytes()
    return files


def moved(files, begin, to):
    """Those whose path begins so, elsewhere."""
    return {to + name[len(begin):]: data for name, data in files.items() if name.startswith(begin)}


def mode_of(name, data):
    """Programs can be run, by what they are: rights of files in the source depend on the umask."""
    if isinstance(data, str):
        return 0o777
    script = data.startswith(b"#!")
    program = data.startswith(b"\x7fELF") and ".so" not in name
    return 0o755 if script or program else 0o644


# ---- Archives ----

def write_zip(path, files, order=sorted):
    with zipfile.ZipFile(path, "w") as archive:
        for name in order(files):
            entry = zipfile.ZipInfo(name, time.gmtime(DATE)[:6])
            entry.create_system = 3
            entry.external_attr = (0o100000 | mode_of(name, files[name])) << 16
            entry.compress_type = zipfile.ZIP_DEFLATED
            archive.writestr(entry, files[name], compresslevel=9)


def write_tar_gz(path, files):
    plain = io.BytesIO()
    with tarfile.open(fileobj=plain, mode="w", format=tarfile.GNU_FORMAT) as archive:
        for name in sorted(files):
            entry = tarfile.TarInfo(name)
            entry.mtime, entry.uname, entry.gname = DATE, "root", "root"
            entry.mode = mode_of(name, files[name])
            if isinstance(files[name], str):
                entry.type, entry.linkname = tarfile.SYMTYPE, files[name]
                archive.addfile(entry)
            else:
                entry.size = len(files[name])
                archive.addfile(entry, io.BytesIO(files[name]))
    path.write_bytes(gzip.compress(plain.getvalue(), 9, mtime=DATE))


def write_tree(directory, files):
    for name in sorted(files):
        path = directory / name
        path.parent.mkdir(parents=True, exist_ok=True)
        if isinstance(files[name], str):
            path.symlink_to(files[name])
        else:
            path.write_bytes(files[name])
            path.chmod(mode_of(name, files[name]))
    for path in [directory, *directory.rglob("*")]:
        if path.is_dir():
            path.chmod(0o755)
        os.utime(path, (DATE, DATE), follow_symlinks=False)


# ---- Debian packages ----

def changelog(package):
    date = time.strftime("%a, %d %b %Y 00:00:00 +0000", time.gmtime(DATE))
    entry = f"{package} ({VERSION}-1) unstable; urgency=medium\n\n  * See CHANGELOG.md.\n\n -- {MAINTAINER}  {date}\n"
    return gzip.compress(entry.encode(), 9, mtime=0)


def needed_packages(files, libraries):
    """The Debian packages with the shared libraries that these programs need, by their least versions."""
    with tempfile.TemporaryDirectory() as directory:
        work = pathlib.Path(directory)
        write_tree(work / "root", {**libraries, **files})
        (work / "debian").mkdir()
        (work / "debian/control").write_text("Source: tllogics\n\nPackage: tllogics\nArchitecture: amd64\n",
                                             encoding="utf-8")
        (work / "debian/shlibs.local").write_text(f"libtllogics 1 libtllogics1 (>= {VERSION})\n", encoding="utf-8")
        programs = [f"-eroot/{name}" for name, data in files.items() if data[:4] == b"\x7fELF"]
        folders = sorted({f"-lroot/{os.path.dirname(name)}" for name in {**libraries, **files} if ".so" in name})
        answer = run("dpkg-shlibdeps", "-O", "--ignore-missing-info", *folders, *programs, cwd=work,
                     env={**os.environ, "LC_ALL": "C.UTF-8"})
        return re.search(r"^shlibs:Depends=(.*)$", answer, re.M).group(1)


def write_deb(dist, name, section, depends, title, description, files, control=None, **fields):
    doc = f"usr/share/doc/{name}/"
    data = {**files, **notices(HEADERS if name == "tllogics-tools" else {}, doc)}
    data[doc + "copyright"] = data.pop(doc + "COPYRIGHT")
    data[doc + "changelog.Debian.gz"] = changelog("tllogics")
    data[doc + "changelog.gz"] = gzip.compress(text("CHANGELOG.md"), 9, mtime=0)
    size = sum(-(-len(content) // 1024) for content in data.values())
    words = {"Package": name, "Source": "tllogics", "Version": f"{VERSION}-1", "Architecture": "amd64",
             "Maintainer": MAINTAINER, "Installed-Size": size, "Depends": depends, "Section": section,
             "Priority": "optional", **{key.replace("_", "-"): value for key, value in fields.items()},
             "Description": title + "\n " + description.replace("\n", "\n ")}
    data["DEBIAN/control"] = "".join(f"{key}: {value}\n" for key, value in words.items()).encode()
    sums = (f"{hashlib.md5(content).hexdigest()}  {path}\n" for path, content in sorted(data.items())
            if not isinstance(content, str) and not path.startswith("DEBIAN/"))
    data["DEBIAN/md5sums"] = "".join(sums).encode()
    for path, content in (control or {}).items():
        data["DEBIAN/" + path] = content.encode()
    with tempfile.TemporaryDirectory() as directory:
        write_tree(pathlib.Path(directory, "root"), data)
        run("dpkg-deb", "--root-owner-group", "-Zxz", "--threads-max=1", "--build", pathlib.Path(directory, "root"),
            dist / f"{name}_{VERSION}-1_amd64.deb", env={**os.environ, "SOURCE_DATE_EPOCH": str(DATE)})


def write_debs(dist, linux):
    """Debian has its libraries by architecture; all else lies in /usr as in any prefix."""
    runtime = moved(installed(linux, "runtime"), "lib/", f"usr/lib/{TRIPLET}/")
    development = installed(linux, "development")
    headers = moved(development, "include/", "usr/include/")
    libraries = moved(development, "lib/", f"usr/lib/{TRIPLET}/")
    for name, data in libraries.items():
        if name.endswith(".pc"):
            libraries[name] = re.sub(rb"^prefix=.*$", b"prefix=/usr", data, flags=re.M).replace(
                b"libdir=${prefix}/lib", b"libdir=${prefix}/lib/" + TRIPLET.encode())
        elif name.endswith("tllogics-config.cmake"):
            for here, there in ((b"/../../../include", b"/../../../../include"),
                                (b"/../../../bin", b"/../../../../bin"),
                                (b"/../../tllogics/simulator", b"/../../../tllogics/simulator")):
                if here not in data:
                    fail(f"{name} doesn't lead to {here.decode()}")
                data = data.replace(here, there)
            libraries[name] = data
    documentation = moved(installed(linux, "documentation"), "share/", "usr/share/")
    tools = moved(installed(linux, "tools"), "", "usr/")
    for name in [name for name in tools if name.startswith("usr/share/man/")]:
        tools[name + ".gz"] = gzip.compress(tools.pop(name), 9, mtime=0)

    write_deb(dist, "libtllogics1", "libs", needed_packages(runtime, {}), SUMMARY,
              "The shared library through which a point-of-sale application drives a\n"
              "Tellarion, a closed cash unit that takes in, holds and pays out money.",
              runtime, {"triggers": "activate-noawait ldconfig\n",
                        "shlibs": f"libtllogics 1 libtllogics1 (>= {VERSION})\n"}, Multi_Arch="same")
    write_deb(dist, "libtllogics-dev", "libdevel", f"libtllogics1 (= {VERSION}-1)", f"{SUMMARY} (development)",
              "Headers for C and C++, the CMake package and the pkg-config file; in\n"
              "/usr/share/doc/tllogics the pages, samples and the sources of the bindings.",
              {**headers, **libraries, **documentation}, Suggests="tllogics-tools")
    write_deb(dist, "tllogics-tools", "utils", needed_packages(tools, runtime), f"{SUMMARY} (tools)",
              "A simulated Tellarion, as a library for tests and as the program tellarion;\n"
              "till, which shows every kind of session; and tllog, which tells from the logs\n"
              "what became of each sale's money.", tools)


# ---- Archives of everything ----

def write_archives(dist, linux, windows, work):
    everything = ("runtime", "development", "tools", "documentation")
    doc = "share/doc/tllogics/"
    name = f"tllogics-{VERSION}-linux-x86_64"
    write_tar_gz(dist / f"{name}.tar.gz",
                 moved({**installed(linux, *everything), **notices(HEADERS, doc)}, "", f"{name}/"))

    # Microsoft's linker takes no import library of GNU's.
    run("llvm-dlltool-14", "-m", "i386:x86-64", "-d", windows / "tllogics.def", "-l", work / "tllogics.lib")
    name = f"tllogics-{VERSION}-windows-x86_64"
    write_zip(dist / f"{name}.zip",
              moved({**installed(windows, *everything), **notices({**HEADERS, **WINDOWS_PARTS}, doc),
                     "lib/tllogics.lib": (work / "tllogics.lib").read_bytes()}, "", f"{name}/"))


# ---- Packages of one language ----

def readme(language):
    """That of its binding, without links to pages that aren't in its package."""
    return re.sub(r"\[([^\]]*)\]\((?!https?:)[^)]*\)", r"\1", text(f"bindings/{language}/README.md").decode())


# ---- NuGet ----

NUSPEC = """<?xml version="1.0" encoding="utf-8"?>
<package xmlns="http://schemas.microsoft.com/packaging/2013/05/nuspec.xsd">
  <metadata minClientVersion="3.3">
    <id>Tllogics</id>
    <version>{version}</version>
    <title>tllogics</title>
    <authors>{authors}</authors>
    <requireLicenseAcceptance>false</requireLicenseAcceptance>
    <description>{description}</description>
    <readme>README.md</readme>
    <copyright>Copyright (C) the authors of tllogics. No licence has been chosen by the owner.</copyright>
    <dependencies>
      <group targetFramework=".NETFramework4.5" />
      <group targetFramework=".NETStandard2.0" />
    </dependencies>
    <contentFiles>
      <files include="cs/netstandard2.0/**/*.cs" buildAction="Compile" copyToOutput="false" />
    </contentFiles>
  </metadata>
</package>
"""
# Other run-times find the native library by their platform's name; .NET Framework wants it beside the program.
TARGETS = """<?xml version="1.0" encoding="utf-8"?>
<Project xmlns="http://schemas.microsoft.com/developer/msbuild/2003">
  <ItemGroup>
    <None Include="$(MSBuildThisFileDirectory)../../runtimes/win-x64/native/tllogics.dll"
          Condition="'$(OS)' == 'Windows_NT'">
      <Link>tllogics.dll</Link>
      <CopyToOutputDirectory>PreserveNewest</CopyToOutputDirectory>
    </None>
    <None Include="$(MSBuildThisFileDirectory)../../runtimes/linux-x64/native/libtllogics.so.1"
          Condition="'$(OS)' != 'Windows_NT'">
      <Link>libtllogics.so.1</Link>
      <CopyToOutputDirectory>PreserveNewest</CopyToOutputDirectory>
    </None>
  </ItemGroup>
</Project>
"""
CORE_PROPERTIES = """<?xml version="1.0" encoding="utf-8"?>
<coreProperties xmlns:dc="http://purl.org/dc/elements/1.1/" xmlns:dcterms="http://purl.org/dc/terms/" \
xmlns:xsi="http://www.w3.org/2001/XMLSchema-instance" \
xmlns="http://schemas.openxmlformats.org/package/2006/metadata/core-properties">
  <dc:creator>{authors}</dc:creator>
  <dc:description>{description}</dc:description>
  <dc:identifier>Tllogics</dc:identifier>
  <version>{version}</version>
</coreProperties>
"""
RELATIONSHIPS = """<?xml version="1.0" encoding="utf-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
  <Relationship Type="http://schemas.microsoft.com/packaging/2010/07/manifest" Target="/Tllogics.nuspec" Id="R1" />
  <Relationship Type="http://schemas.openxmlformats.org/package/2006/relationships/metadata/core-properties" \
Target="/{properties}" Id="R2" />
</Relationships>
"""


def content_types(names):
    types = {"rels": "application/vnd.openxmlformats-package.relationships+xml",
             "psmdcp": "application/vnd.openxmlformats-package.core-properties+xml"}
    plain = "".join(f'  <Default Extension="{extension}" ContentType="{types.get(extension, "application/octet")}" />\n'
                    for extension in sorted({name.rpartition(".")[2] for name in names if "." in name}))
    rest = "".join(f'  <Override PartName="/{name}" ContentType="application/octet" />\n'
                   for name in sorted(names) if "." not in name)
    return ('<?xml version="1.0" encoding="utf-8"?>\n'
            '<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">\n'
            f"{plain}{rest}</Types>\n")


def write_nupkg(dist, libraries, work):
    run(ROOT / "scripts/compile_csharp.sh", work / "Tllogics.dll")
    words = {"version": VERSION, "authors": escape(AUTHORS), "description": escape(DESCRIPTION)}
    properties = f"package/services/metadata/core-properties/{hashlib.md5(VERSION.encode()).hexdigest()}.psmdcp"
    files = {"Tllogics.nuspec": NUSPEC.format(**words), properties: CORE_PROPERTIES.format(**words),
             "_rels/.rels": RELATIONSHIPS.format(properties=properties),
             "build/net45/Tllogics.targets": TARGETS, "buildTransitive/net45/Tllogics.targets": TARGETS,
             # Newer run-times compile the source, and take no assembly.
             "lib/netstandard2.0/_._": "", "contentFiles/cs/net45/_._": ""}
    files = {name: content.encode() for name, content in files.items()}
    files["README.md"] = readme("csharp").encode()
    for name in ("Tllogics.dll", "Tllogics.xml"):
        files[f"lib/net45/{name}"] = (work / name).read_bytes()
    for source in sorted((ROOT / "bindings/csharp").glob("*.cs")):
        # By this word a compiler holds it to C#'s rules alone, not to the project's own on style and nullness.
        files[f"contentFiles/cs/netstandard2.0/Tllogics/{source.name}"] = (
            b"// <auto-generated/>\n" + source.read_bytes())
    files["runtimes/linux-x64/native/libtllogics.so.1"] = libraries["libtllogics.so.1"]
    files["runtimes/win-x64/native/tllogics.dll"] = libraries["tllogics.dll"]
    files.update(notices(WINDOWS_PARTS, ""))
    files["[Content_Types].xml"] = content_types(files).encode()
    write_zip(dist / f"Tllogics.{VERSION}.nupkg", files)


# ---- Python ----

def newest_glibc(library, work):
    """As a wheel's name says it, "2_34"."""
    (work / "library").write_bytes(library)
    versions = re.findall(r"GLIBC_(\d+)\.(\d+)", run("objdump", "-T", work / "library"))
    return "{}_{}".format(*max((int(major), int(minor)) for major, minor in versions))


def write_wheel(dist, tag, name, library, parts):
    info = f"tllogics-{VERSION}.dist-info/"
    files = {f"tllogics/{path.name}": path.read_bytes()
             for path in sorted((ROOT / "bindings/python/tllogics").iterdir())
             if path.suffix in (".py", ".pyi", ".typed")}
    files[f"tllogics/{name}"] = library
    files.update(notices(parts, info))
    files[info + "METADATA"] = (
        f"Metadata-Version: 2.1\nName: tllogics\nVersion: {VERSION}\nSummary: {SUMMARY}\nAuthor: {AUTHORS}\n"
        "License: none has been chosen by the owner\nRequires-Python: >=3.7\n"
        f"Description-Content-Type: text/markdown\n\n{readme('python')}").encode()
    files[info + "WHEEL"] = (f"Wheel-Version: 1.0\nGenerator: tllogics ({VERSION})\nRoot-Is-Purelib: false\n"
                             f"Tag: py3-none-{tag}\n").encode()

    def digest(data):
        return base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
    record = "".join(f"{path},sha256={digest(data)},{len(data)}\n" for path, data in sorted(files.items()))
    files[info + "RECORD"] = f"{record}{info}RECORD,,\n".encode()
    # What tells of the package comes last.
    write_zip(dist / f"tllogics-{VERSION}-py3-none-{tag}.whl", files,
              lambda names: sorted(names, key=lambda path: (path.startswith(info), path)))


def main():
    parser = argparse.ArgumentParser(description=__doc__)
    parser.add_argument("--linux", type=pathlib.Path, default=ROOT / "build/linux")
    parser.add_argument("--windows", type=pathlib.Path, default=ROOT / "build/windows")
    parser.add_argument("--dist", type=pathlib.Path, default=ROOT / "dist")
    arguments = parser.parse_args()
    os.umask(0o022)
    dist, linux, windows = (path.resolve() for path in (arguments.dist, arguments.linux, arguments.windows))
    dist.mkdir(parents=True, exist_ok=True)
    for former in dist.iterdir():
        # The directory may be somebody's own, with more in it.
        if re.fullmatch(r"(lib)?tllogics.*\.(deb|tar\.gz|zip|nupkg|whl)", former.name, re.I):
            former.unlink()
    with tempfile.TemporaryDirectory() as directory, concurrent.futures.ThreadPoolExecutor() as pool:
        work = pathlib.Path(directory)
        libraries = {os.path.basename(name): data for build in (linux, windows)
                     for name, data in installed(build, "runtime").items()}
        glibc = newest_glibc(libraries["libtllogics.so.1"], work)
        begun = [pool.submit(write_debs, dist, linux), pool.submit(write_archives, dist, linux, windows, work),
                 pool.submit(write_nupkg, dist, libraries, work),
                 pool.submit(write_wheel, dist, f"manylinux_{glibc}_x86_64", "libtllogics.so.1",
                             libraries["libtllogics.so.1"], {}),
                 pool.submit(write_wheel, dist, "win_amd64", "tllogics.dll", libraries["tllogics.dll"], WINDOWS_PARTS)]
        for packages in begun:
            packages.result()
    for path in sorted(dist.iterdir()):
        print(f"{hashlib.sha256(path.read_bytes()).hexdigest()[:16]} {path.stat().st_size:9} {path.name}")


if __name__ == "__main__":
    main()
