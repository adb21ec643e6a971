"""The first sale succeeds on a machine of its own, in every language.

Arguments: "tellarion" -- "first_sale", behind emulators and interpreters.
"""
import json
import os
import subprocess
import sys
import tempfile

from tellarion import Machine, WebSocket

tellarion, first_sale = ([os.path.abspath(word) for word in program.split()]
                         for program in " ".join(sys.argv[1:]).split(" -- "))
machine = Machine(tellarion, directory=tempfile.mkdtemp())
try:
    events = WebSocket(machine, "/api/events")
    sale = subprocess.Popen([*first_sale, f"Type:RS232;Name:127.0.0.1:{machine.port};"], cwd=machine.directory,
                            env={**os.environ, "TLLOGS": "logs"}, stdout=subprocess.PIPE, text=True)
    # It counts first, and asks for the money then.
    while not json.loads(events.receive()).get("raw", "").startswith("h"):
        pass
    machine.post("wait", **{"for": "ready"})
    assert machine.post("insert", pieces=["100", "50"])[0] == 200
    output, _ = sale.communicate(timeout=30)
    lines = [line for line in output.splitlines() if not line.startswith("  ")]
    assert (sale.returncode, lines) == (0, ["Please pay 12300.", "The device kept 12300 of 12300."]), output
    assert "  status 0, mode 1, amount 15000" in output, output
    assert machine.state()["tray"]["amount"] == 2700
finally:
    machine.kill()
