"""The packages in dist/, each put into an empty place and used there as its user would: the first sale runs
against it on a simulated machine of its own. Arguments: <dist> <linux build> <windows build> [<test>...]"""
import base64
import concurrent.futures
import csv
import gzip
import hashlib
import json
import os
import pathlib
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import threading
import time
import traceback
import xml.etree.ElementTree as xml
import zipfile

from tellarion import Machine, WebSocket

ROOT = pathlib.Path(__file__).resolve().parent.parent
DIST, LINUX, WINDOWS = (pathlib.Path(word).resolve() for word in sys.argv[1:4])
SCRATCH = pathlib.Path(tempfile.mkdtemp(prefix="packages_test."))
WINE = [str(ROOT / "scripts/wine.sh")]
TRIPLET = "x86_64-linux-gnu"
EXAMPLE = ROOT / "examples/first_sale.c"
# What a user's shell doesn't have.
PLAIN = {name: value for name, value in os.environ.items() if not name.startswith(("TL", "LD_", "PYTHON", "PKG_"))}


def run(*command, cwd=None, env=None):
    done = subprocess.run([str(word) for word in command], cwd=cwd, env={**PLAIN, **(env or {})}, timeout=300,
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL, check=False)
    output = done.stdout.decode(errors="replace")
    assert done.returncode == 0, f"{' '.join(map(str, command))}: exit status {done.returncode}\n{output}"
    return output


def place(name):
    directory = SCRATCH / name
    directory.mkdir(parents=True)
    return directory


def package(pattern):
    found = list(DIST.glob(pattern))
    assert len(found) == 1, f"{pattern}: {found}"
    return found[0]


def sell(program, tellarion, cwd, env=None):
    """The first sale, whose customer pays 150.00 and gets 27.00 back."""
    machine = Machine([str(word) for word in tellarion], directory=str(cwd))
    try:
        events = WebSocket(machine, "/api/events")
        sale = subprocess.Popen([*map(str, program), f"Type:RS232;Name:127.0.0.1:{machine.port};"], cwd=cwd,
                                env={**PLAIN, "TLLOGS": "logs", **(env or {})}, stdout=subprocess.PIPE,
                                stderr=subprocess.STDOUT, stdin=subprocess.DEVNULL)
        try:
            # It counts first, and asks for the money then.
            events.connection.settimeout(1)
            while not json.loads(heard(events, sale) or "{}").get("raw", "").startswith("h"):
                pass
            machine.post("wait", **{"for": "ready"})
            machine.post("insert", pieces=["100", "50"])
            output = sale.communicate(timeout=60)[0].decode(errors="replace")
        except BaseException:
            sale.kill()
            print(sale.communicate()[0].decode(errors="replace"))
            raise
        assert sale.returncode == 0, f"exit status {sale.returncode}\n{output}"
        assert "The device kept 12300 of 12300." in output, output
        assert machine.state()["tray"]["amount"] == 2700
    finally:
        machine.kill()


def finds_no_device(program, cwd, env=None):
    """As in a shop where the device's own library is missing: the simulated one must not be taken for it."""
    sale = subprocess.run([str(word) for word in program], cwd=cwd, env={**PLAIN, "TLLOGS": "logs", **(env or {})},
                          stdout=subprocess.PIPE, stderr=subprocess.STDOUT, timeout=60, check=False)
    output = sale.stdout.decode(errors="replace")
    assert sale.returncode == 1 and "Failed to get dll handle" in output, f"{sale.returncode}: {output}"


def heard(events, sale):
    for _ in range(60):
        try:
            return events.receive()
        except TimeoutError:
            if sale.poll() is not None:
                raise RuntimeError(f"the sale ended with status {sale.returncode}") from None
    raise RuntimeError("the sale says nothing")


def simulated(prefix):
    return {"LD_LIBRARY_PATH": str(prefix / "lib/tllogics/simulator")}


# ---- Installed ----

CONSUMER = """cmake_minimum_required(VERSION 3.16)
project(shop C CXX)
set(CMAKE_CXX_STANDARD 17)
{find}
add_executable(sale "{source}")
target_link_libraries(sale PRIVATE tllogics::tllogics)
"""


def consumer(directory, find, source, *options):
    """A program built by CMake on its own."""
    (directory / "CMakeLists.txt").write_text(CONSUMER.format(find=find, source=source), encoding="utf-8")
    run("cmake", "-S", directory, "-B", directory / "build", *options)
    run("cmake", "--build", directory / "build", "-j2")
    return directory / "build/sale"


def test_prefix():
    """Installed, moved elsewhere, and found by CMake and by pkg-config."""
    work = place("prefix")
    run("cmake", "--install", LINUX, "--prefix", work / "first")
    prefix = work / "a prefix"
    (work / "first").rename(prefix)
    tellarion = [prefix / "bin/tellarion"]

    find = '''
find_package(tllogics 2.0 QUIET)
set(newer ${tllogics_FOUND})
find_package(tllogics QUIET COMPONENTS other)
if(newer OR tllogics_FOUND)
    message(FATAL_ERROR "found what isn't there")
endif()
find_package(tllogics 1.0 REQUIRED)
if(NOT EXISTS "${tllogics_SIMULATOR_DIR}/libOstrivane.so")
    message(FATAL_ERROR "no simulator in '${tllogics_SIMULATOR_DIR}'")
endif()'''
    sale = consumer(place("prefix/cmake"), find, EXAMPLE, f"-DCMAKE_PREFIX_PATH={prefix}")
    sell([sale], tellarion, work, simulated(prefix))

    pkg_config = {"PKG_CONFIG_PATH": str(prefix / "lib/pkgconfig")}
    run("sh", "-c", 'eval g++ -std=c++17 -Wall -Werror -o cpp \\"\\$0\\" -pthread $(pkg-config --cflags --libs tllogics)',
        ROOT / "bindings/cpp/first_sale.cpp", cwd=work, env=pkg_config)
    directory = run("pkg-config", "--variable=simulatordir", "tllogics", env=pkg_config).strip().replace("\\", "")
    sell([work / "cpp"], tellarion, work, {"LD_LIBRARY_PATH": f"{directory}:{prefix}/lib"})
    # Its programs need no help, and look nowhere else.
    found = {name: re.findall(r"runpath: \[(.*)\]", run("readelf", "-d", prefix / "bin" / name, env={"LC_ALL": "C"}))
             for name in ("tellarion", "till", "tllog")}
    assert found == {"tellarion": [], "tllog": [],
                     "till": ["$ORIGIN/../lib/tllogics/simulator:$ORIGIN/../lib:$ORIGIN"]}, found
    run(prefix / "bin/till", "sale", cwd=work, env={"TLLOGS": "logs"})
    assert "SALE-1" in run(prefix / "bin/tllog", "sales", work / "logs", cwd=work)


def test_embedded():
    """The source as a part of another project, with flags that would suit a library of its own badly."""
    work = place("embedded")
    sale = consumer(work, f'add_subdirectory("{ROOT}" tllogics)', EXAMPLE, "-G", "Unix Makefiles",
                    "-DCMAKE_BUILD_TYPE=Debug", "-DTLLOGICS_UNITY=ON", "-DCMAKE_CXX_FLAGS_DEBUG=-O0",
                    "-DCMAKE_CXX_FLAGS=-fvisibility=hidden -fno-exceptions -Wall -Wextra -Werror")
    sell([sale], [LINUX / "tellarion"], work, {"LD_LIBRARY_PATH": str(installed_simulator())})


def installed_simulator():
    """A directory with the simulated device alone."""
    directory = SCRATCH / "simulator"
    directory.mkdir(exist_ok=True)
    if not (directory / "libOstrivane.so").exists():
        (directory / "libOstrivane.so").symlink_to(LINUX / "libOstrivane.so")
    return directory


# ---- Debian packages and archives ----

def test_deb():
    """Really installed, into a root that has nothing else."""
    work = place("deb")
    root, admin = work / "root", work / "root/var/lib/dpkg"
    for name in ("info", "updates"):
        (admin / name).mkdir(parents=True)
    (admin / "status").touch()
    debs = sorted(DIST.glob("*.deb"))
    assert [re.sub("_.*", "", path.name) for path in debs] == ["libtllogics-dev", "libtllogics1", "tllogics-tools"]
    path = {"PATH": f"{os.environ['PATH']}:/usr/sbin:/sbin"}
    run("dpkg", f"--root={root}", "--force-not-root,depends", "--log=/dev/null", "-i", *debs, env=path)
    assert run("dpkg", f"--root={root}", "--audit") == ""
    assert run("dpkg", f"--root={root}", "--verify") == ""
    depends = {path.name.split("_")[0]: run("dpkg-deb", "-f", path, "Depends").strip() for path in debs}
    assert depends["libtllogics1"] == "libc6 (>= 2.34)", depends
    assert re.match(r"libc6 \(>= 2\.36\), .*libstdc\+\+6 .*, libtllogics1 ", depends["tllogics-tools"]), depends

    usr = root / "usr"
    library = usr / "lib" / TRIPLET
    run("gcc", EXAMPLE, "-o", "sale", f"-I{usr}/include", f"-L{library}", "-ltllogics", cwd=work)
    finds_no_device(["./sale"], work, {"LD_LIBRARY_PATH": f"{library}:{usr}/lib"})
    sell(["./sale"], [usr / "bin/tellarion"], work,
         {"LD_LIBRARY_PATH": f"{library}:{usr}/lib/tllogics/simulator"})
    output = run(usr / "bin/till", "sale", cwd=work, env={"LD_LIBRARY_PATH": str(library), "TLLOGS": "logs"})
    assert output, "the till says nothing"
    for program in ("tellarion", "till", "tllog"):
        page = gzip.decompress((usr / f"share/man/man1/{program}.1.gz").read_bytes()).decode()
        output = run(usr / "bin" / program, "--help", env={"LD_LIBRARY_PATH": str(library)})
        commands = output.partition("Subcommands:")[2]
        untold = [word for word in re.findall(r"^  (\w\S*)", commands, re.M) if not re.search(rf"\b{word}\b", page)]
        assert commands and not untold, f"{program}.1 doesn't tell of {untold}"
    # CMake finds the same, though it lies deeper, and by a link that Debian has.
    (root / "lib").symlink_to("usr/lib")
    sale = consumer(place("deb/cmake"), "find_package(tllogics REQUIRED)", EXAMPLE, f"-DCMAKE_PREFIX_PATH={root}",
                    f"-DCMAKE_LIBRARY_ARCHITECTURE={TRIPLET}")
    assert str(library) in run("readelf", "-d", sale)
    pc = {"PKG_CONFIG_LIBDIR": str(library / "pkgconfig"), "PKG_CONFIG_SYSROOT_DIR": str(root)}
    flags = run("pkg-config", "--cflags", "--libs", "tllogics", env=pc).split()
    directories = [os.path.normpath(word[2:]) for word in flags if word[:2] in ("-I", "-L")]
    assert set(directories) <= {str(usr / "include"), str(library)} and "-ltllogics" in flags, flags


def test_tar():
    work = place("tar")
    with tarfile.open(package("*.tar.gz")) as archive:
        archive.extractall(work, filter="data") if hasattr(tarfile, "data_filter") else archive.extractall(work)
    prefix, = work.iterdir()
    run("gcc", prefix / "share/doc/tllogics/examples/first_sale.c", "-o", "sale", f"-I{prefix}/include",
        f"-L{prefix}/lib", "-ltllogics", f"-Wl,-rpath,{prefix}/lib", cwd=work)
    finds_no_device(["./sale"], work)
    sell(["./sale"], [prefix / "bin/tellarion"], work, simulated(prefix))
    run(prefix / "bin/till", "sale", cwd=work, env={"TLLOGS": "logs"})


# ---- Python ----

def recorded(wheel):
    """That RECORD tells of every file what it is."""
    with zipfile.ZipFile(wheel) as archive:
        names = archive.namelist()
        record, = (name for name in names if name.endswith(".dist-info/RECORD"))
        rows = list(csv.reader(archive.read(record).decode().splitlines()))
        assert sorted(row[0] for row in rows) == sorted(names)
        for name, digest, size in rows:
            if name != record:
                data = archive.read(name)
                kept = base64.urlsafe_b64encode(hashlib.sha256(data).digest()).rstrip(b"=").decode()
                assert (digest, size) == (f"sha256={kept}", str(len(data))), name


VENV = threading.Lock()


def pip(*words):
    """Of a virtual environment without network and without the system's packages; its interpreter."""
    directory = SCRATCH / "venv"
    with VENV:
        if not directory.exists():
            run(sys.executable, "-m", "venv", directory)
    python = directory / "bin/python"
    run(python, "-m", "pip", "--isolated", "--disable-pip-version-check", "install", "--no-index", "--no-cache-dir",
        *words)
    return python


def test_wheel():
    work = place("wheel")
    wheel = package("*manylinux*.whl")
    recorded(wheel)
    python = pip(wheel)
    # Alone: beside the sample in its own folder lies the source of the package, which has no library.
    shutil.copy(ROOT / "bindings/python/first_sale.py", work)
    sell([python, "-u", "first_sale.py"], [LINUX / "tellarion"], work,
         {"LD_LIBRARY_PATH": str(installed_simulator())})
    loaded = run(python, "-I", "-c", "import tllogics; print(tllogics.__file__)")
    assert str(SCRATCH) in loaded, loaded


def test_wheel_for_windows():
    """As pip takes it for Windows; its DLL with a C program."""
    work = place("wheel_windows")
    wheel = package("*win_amd64.whl")
    recorded(wheel)
    pip("--platform", "win_amd64", "--only-binary=:all:", "--target", work / "site", wheel)
    sell_on_windows(work, work / "site/tllogics/tllogics.dll")


# ---- .NET ----

def test_nupkg():
    """What NuGet looks at, and its assembly and its source under Mono."""
    work = place("nupkg")
    with zipfile.ZipFile(package("*.nupkg")) as archive:
        archive.extractall(work)
        names = archive.namelist()
    for name in names:
        if name.endswith((".xml", ".rels", ".nuspec", ".psmdcp", ".targets")):
            xml.parse(work / name)
    types = xml.parse(work / "[Content_Types].xml").getroot()
    told = {entry.get("Extension") for entry in types} | {(entry.get("PartName") or "")[1:] for entry in types}
    assert [name for name in names if name not in told and name.rpartition(".")[2] not in told] == []
    for relation in xml.parse(work / "_rels/.rels").getroot():
        assert relation.get("Target")[1:] in names, relation.attrib

    example = ROOT / "bindings/csharp/example/FirstSale.cs"
    project = place("nupkg/project")
    for copied in ("lib/net45/Tllogics.dll", "runtimes/linux-x64/native/libtllogics.so.1"):
        shutil.copy(work / copied, project)
    sources = list((work / "contentFiles/cs/netstandard2.0").rglob("*.cs"))
    run("mcs", "-langversion:7", "-r:Tllogics.dll", "-out:Sale.exe", example, cwd=project)
    run("mcs", "-langversion:7", "-warnaserror", "-out:FromSource.exe", example, *sources, cwd=project)
    for program in ("Sale.exe", "FromSource.exe"):
        sell(["mono", program], [LINUX / "tellarion"], project, {"LD_LIBRARY_PATH": str(installed_simulator())})


def test_nupkg_for_windows():
    work = place("nupkg_windows")
    with zipfile.ZipFile(package("*.nupkg")) as archive:
        archive.extract("runtimes/win-x64/native/tllogics.dll", work)
    sell_on_windows(work, work / "runtimes/win-x64/native/tllogics.dll")


# ---- Windows ----

def unzipped(work):
    with zipfile.ZipFile(package("*windows-x86_64.zip")) as archive:
        archive.extractall(work)
    prefix, = (path for path in work.iterdir() if path.name.startswith("tllogics-"))
    return prefix


def sell_on_windows(work, library, program=WINDOWS / "first_sale.exe"):
    """A C program beside that DLL, with the simulated device where its user puts it."""
    directory = place(f"{work.relative_to(SCRATCH)}/shop")
    for file in (library, WINDOWS / "Ostrivane.dll", program):
        shutil.copy(file, directory)
    sell([*WINE, program.name], [LINUX / "tellarion"], directory)


def test_zip():
    """A program found by CMake and linked by GNU's linker, and the zip's own programs."""
    work = place("zip")
    prefix = unzipped(work)
    sale = consumer(place("zip/shop"), "find_package(tllogics 1.0 REQUIRED)", EXAMPLE,
                    f"-Dtllogics_DIR={prefix}/lib/cmake/tllogics",
                    f"-DCMAKE_TOOLCHAIN_FILE={ROOT}/cmake/mingw.cmake", "-DCMAKE_EXE_LINKER_FLAGS=-static")
    sale = sale.with_suffix(".exe")
    shutil.copy(prefix / "bin/tllogics.dll", sale.parent)
    finds_no_device([*WINE, sale.name], sale.parent)
    shutil.copy(prefix / "simulator/Ostrivane.dll", sale.parent)
    sell([*WINE, sale.name], [*WINE, prefix / "simulator/tellarion.exe"], sale.parent)
    run(*WINE, prefix / "simulator/till.exe", "sale", cwd=sale.parent, env={"TLLOGS": "logs"})
    assert "SALE-1" in run(*WINE, prefix / "bin/tllog.exe", "sales", "logs", cwd=sale.parent)


OWN_ENTRY = """#include "tllogics.h"
int start(void)
{
    char message[1024];
    return exitTL(message) == TL_STATUS_ERROR && message[0] == 'N' ? 7 : 8; /* "Not initiated" */
}
"""


def test_microsoft_library():
    """LLVM's linker in Microsoft's manner takes the .lib, and the program runs."""
    work = place("lib")
    prefix = unzipped(work)
    (work / "own.c").write_text(OWN_ENTRY, encoding="utf-8")
    run("x86_64-w64-mingw32-gcc-posix", "-O1", "-fno-stack-protector", "-c", "own.c", f"-I{prefix}/include", cwd=work)
    run("lld-link-14", "/entry:start", "/subsystem:console", "/out:own.exe", "own.o", prefix / "lib/tllogics.lib",
        cwd=work)
    shutil.copy(prefix / "bin/tllogics.dll", work)
    done = subprocess.run([*WINE, "own.exe"], cwd=work, env={**PLAIN, "TLLOGS": "logs"}, timeout=60, check=False)
    assert done.returncode == 7, done.returncode


# ---- All of them ----

def contents(path):
    """All files in a package, as bytes by name."""
    if path.suffix == ".deb":
        root = SCRATCH / "contents" / path.name
        run("dpkg-deb", "-R", path, root)
        return {str(file.relative_to(root)): file.read_bytes() for file in root.rglob("*")
                if file.is_file() and not file.is_symlink()}
    if path.suffix == ".gz":
        with tarfile.open(path) as archive:
            return {entry.name: archive.extractfile(entry).read() for entry in archive if entry.isfile()}
    with zipfile.ZipFile(path) as archive:
        return {name: archive.read(name) for name in archive.namelist()}


def tells_its_place(data):
    rooms = rb"/(api|bindings|build|examples|logic|platform|simulator|tools|web)"
    return re.search(re.escape(str(ROOT).encode()) + rooms, data)


def test_contents():
    """Each says that no licence was chosen, nothing in it tells where it was built, and the simulated device is
    only where no shop's till looks for the real one."""
    (SCRATCH / "contents").mkdir()
    packages = sorted(DIST.iterdir())
    assert len(packages) == 8, packages
    for path in packages:
        files = contents(path)
        assert any(b"No licence has been chosen" in data and name.lower().endswith("copyright")
                   for name, data in files.items()), f"{path.name} says nothing of a licence"
        for name, data in files.items():
            assert not tells_its_place(data), f"{path.name}: {tells_its_place(data)} in {name}"
            assert "Ostrivane" not in name or "/simulator/" in name, f"{path.name}: {name}"
            assert "__pycache__" not in name and not name.endswith((".pyc", ".debug")), f"{path.name}: {name}"


def digests(directory):
    return {path.name: hashlib.sha256(path.read_bytes()).hexdigest() for path in sorted(directory.iterdir())}


def test_packed_again():
    """By somebody else in another country: nothing differs."""
    work = place("again")
    elsewhere = {"TZ": "Pacific/Chatham", "LC_ALL": "C", "LANG": "sv_SE", "TMPDIR": str(work)}
    others = place("again/dist") / "tllogics.txt"
    others.touch()
    run("sh", "-c", f'umask 077; exec "$0" --linux "{LINUX}" --windows "{WINDOWS}" --dist dist',
        ROOT / "scripts/package.py", cwd=work, env=elsewhere)
    others.unlink()  # it was not theirs to remove
    first, second = digests(DIST), digests(work / "dist")
    assert first == second, [name for name in {**first, **second} if first.get(name) != second.get(name)]


def test_built_again():
    """The library of the same source, which lies elsewhere, to the byte: the one for Windows, where tools like to
    leave the time. Both tell nobody where they were built."""
    for library in (LINUX / "libtllogics.so.1", WINDOWS / "tllogics.dll"):
        debug = library.with_name(library.name + ".debug").read_bytes()
        # A compiler's cache makes paths relative.
        assert not tells_its_place(debug) and b"\0../" not in debug, library.name
    work = place("another/directory")
    shutil.copytree(ROOT, work / "source", symlinks=True,
                    ignore=lambda _, names: {"build", "dist", ".git"}.intersection(names))
    # A compiler's cache must not hand out what the other build has made.
    elsewhere = {"TZ": "Asia/Tokyo", "CCACHE_RECACHE": "1"}
    if "CCACHE_BASEDIR" in os.environ:
        elsewhere["CCACHE_BASEDIR"] = str(work / "source")
    products = work / "source/build/again"
    run("cmake", "-S", work / "source", "-B", products, "-G", "Ninja", "-DCMAKE_BUILD_TYPE=Release",
        "-DTLLOGICS_UNITY=ON", f"-DCMAKE_TOOLCHAIN_FILE={ROOT}/cmake/mingw.cmake", env=elsewhere)
    run("cmake", "--build", products, "--target", "tllogics", env=elsewhere)
    for name in ("tllogics.dll", "tllogics.dll.debug", "libtllogics.dll.a"):
        assert (products / name).read_bytes() == (WINDOWS / name).read_bytes(), f"{name} differs"


def main():
    tests = {name[5:]: test for name, test in globals().items() if name.startswith("test_")}
    chosen = sys.argv[4:] or tests
    failed = []

    def attempt(name):
        begin = time.monotonic()
        try:
            tests[name]()
            outcome = "passed"
        except BaseException:
            outcome = "failed\n" + traceback.format_exc()
            failed.append(name)
        print(f"packages.{name}: {time.monotonic() - begin:.1f} s, {outcome}", flush=True)

    try:
        with concurrent.futures.ThreadPoolExecutor(4) as pool:
            list(pool.map(attempt, chosen))
    finally:
        shutil.rmtree(SCRATCH, ignore_errors=True)
    print(f"packages: {len(chosen) - len(failed)} passed, {len(failed)} failed")
    sys.exit(1 if failed else 0)


main()
