"""The first sale on a machine of its own, in every language: one that succeeds, and one of which nobody knows.

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


def insert(piece):
    status, answer = machine.post("insert", pieces=[piece])
    assert (status, answer.get("took")) == (200, int(piece) * 100), answer


def expect(exit_status, *said, jams):
    """A sale in which the customer pays 150, and all that it says of it; it returns what else it said."""
    events = WebSocket(machine, "/api/events")
    sale = subprocess.Popen([*first_sale, f"Type:RS232;Name:127.0.0.1:{machine.port};"], cwd=machine.directory,
                            env={**os.environ, "TLLOGS": "logs"}, stdout=subprocess.PIPE, text=True)
    # It counts first, and asks for the money then.
    while not json.loads(events.receive()).get("raw", "").startswith("h"):
        pass
    machine.post("wait", **{"for": "ready"})
    insert("100")
    if jams:
        assert machine.post("fault", name="note-jam", after="2 pieces")[0] == 200  # the first note of the change
    insert("50")
    output, _ = sale.communicate(timeout=30)
    lines = [line for line in output.splitlines() if not line.startswith("  ")]
    assert (sale.returncode, lines) == (exit_status, ["Please pay 12300.", *said]), output
    return output


try:
    assert "  status 0, mode 1, amount 15000" in expect(0, "The device kept 12300 of 12300.", jams=False)
    assert machine.state()["tray"]["amount"] == 2700
    expect(1, "amountDueTL: 6, Timed out", "Nobody knows what came out: open the device and count by hand.", jams=True)
finally:
    machine.kill()
