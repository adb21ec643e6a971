"""The commands and programs of docs/simulator.md, as they stand there but for the ports, and what the page says
comes of them. Arguments: <source directory> <build directory>"""
import contextlib
import os
import re
import signal
import socket
import subprocess
import sys
import tempfile

SOURCE, BUILD = map(os.path.abspath, sys.argv[1:3])


def free_port():
    with socket.socket() as listener:
        listener.bind(("127.0.0.1", 0))
        return str(listener.getsockname()[1])


with open(os.path.join(SOURCE, "docs/simulator.md"), encoding="utf-8") as file:
    page = file.read()
walk = page[page.index("## A walk"):page.index("## The program")]
test, injection = re.findall(r"```python\n(.*?)```", page, re.S)
commands = "\n".join(re.findall(r"^    (\S.*)$", re.sub(r"```.*?```", "", walk, flags=re.S), re.M))
# A person reads a line before the next command.
commands = re.sub(r"^tellarion &$", "tellarion & first=$!; upon 7410", commands, flags=re.M)
commands = commands.replace("sleep 1\n", "upon 7411\n")
commands = "upon() { until tellarion state --port $1 >/dev/null 2>&1; do sleep 0.05; done; }\n" + commands

with tempfile.TemporaryDirectory() as scratch:
    os.symlink(os.path.join(SOURCE, "examples"), os.path.join(scratch, "examples"))
    os.makedirs(os.path.join(scratch, "build"))
    os.symlink(BUILD, os.path.join(scratch, "build/linux"))
    here, there = free_port(), free_port()
    script = f"{commands}\n{sys.executable} - <<'END'\n{test}\nEND\necho test: $?\nkill $first\n"
    script = script.replace("7410", here).replace("7411", there).replace("/tmp/walk", scratch + "/walk")
    walker = subprocess.Popen(["bash", "-c", script], cwd=scratch, env={**os.environ, "TELLARION_PORT": here},
                              stdout=subprocess.PIPE, stderr=subprocess.STDOUT, start_new_session=True)
    try:
        output = walker.communicate(timeout=100)[0].decode()
    finally:
        with contextlib.suppress(ProcessLookupError):
            os.killpg(walker.pid, signal.SIGKILL)
    for number, said in [(1, '"took":700}'), (1, "ended with status 6: Timed out"), (2, "200.00 came out"),
                         (1, '"stuck": 1,'), (1, "6 steps, 0 failed"), (1, "test: 0")]:
        assert output.count(said) == number, f"{number} times {said!r}:\n{output}"
    done = subprocess.run([sys.executable, "-c", injection], cwd=scratch, timeout=60, check=True, text=True,
                          env={**os.environ, "LD_LIBRARY_PATH": BUILD, "TLLOGS": scratch}, stdout=subprocess.PIPE)
    assert done.stdout.endswith("0 0 1\n1000 5 b'05 10 SEK'\n"), done.stdout
