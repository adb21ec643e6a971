"""A day in a shop, and tills killed in the middle of it: what the journal says then is where the money is.

Arguments: how many kills at random besides those at fixed places, with faults by chance, or "short" for the day and one
kill alone; then "tellarion" -- "shop_day", behind emulators.
"""
import json
import os
import random
import subprocess
import sys
import tempfile
import threading
import time

from tellarion import Machine, WebSocket

SETTINGS = {"answerDelay": 1, "messageGap": 30, "payOutTime": 150,
            "drawer": [{"value": 100, "count": 100, "float": 80}, {"value": 1000, "count": 20, "float": 20},
                       {"value": 2000, "kind": "note", "count": 20, "float": 10}]}
FAULTS = ["coin-jam", "note-jam", "link-lost", "power-cut", "busy", "answer-lost", "answer-late", "message-lost",
          "message-late", "message-twice", "message-garbled"]
DUE, PIECES, PAID = 6300, ["20", "20", "20", "20"], 8000

is_short = sys.argv[1] == "short"
kills = 0 if is_short else int(sys.argv[1])
tellarion, shop_day = ([os.path.abspath(word) for word in program.split()]
                       for program in " ".join(sys.argv[2:]).split(" -- "))
directory = tempfile.mkdtemp()
with open(os.path.join(directory, "settings"), "w", encoding="ascii") as file:
    json.dump(SETTINGS, file)
machine = Machine(tellarion, "--settings", "settings", "--state", "state", directory=directory)
journal = os.path.join(directory, "journal")


def start(*steps):
    return subprocess.Popen([*shop_day, f"Type:RS232;Name:127.0.0.1:{machine.port};", "journal", *map(str, steps)],
                            cwd=directory, env={**os.environ, "TLLOGS": "logs"}, stdout=subprocess.PIPE,
                            encoding="utf-8", errors="replace")


def pay(till, pieces):
    """When the till asks for it, and the device is open."""
    while (line := till.stdout.readline()) and not line.startswith("Please pay"):
        pass
    while till.poll() is None and not machine.state()["payIn"]:
        time.sleep(0.01)
    return machine.post("insert", pieces=pieces)[1].get("took", 0)


def lines():
    with open(journal, encoding="ascii") as text:
        return [line.split() for line in text if "cut" not in line]


def sold():
    return sum(int(amount) for word, _, amount, _ in lines() if word == "end")


def owed():
    """What the journal says that customers are to get by hand."""
    entries = [(word, int(amount), int(held)) for word, _, amount, held in lines() if word in ("sale", "collect", "end")]
    return sum(end[2] - begin[2] - end[1] for begin, end in zip(entries[::2], entries[1::2]) if begin[0] == "sale")


def check():
    """The journal's last count is what is there, and customers have paid what was sold and what they are owed."""
    state, last = machine.state(), lines()[-1]
    assert state["books"]["balance"] and state["paidIn"] == 0, state
    assert last[0] == "logout" and int(last[3]) == state["drawer"]["amount"], (last, state["drawer"])
    assert state["books"]["paidIn"] - state["books"]["paidOut"] == sold() + owed(), (state["books"], sold(), owed())


def settle():
    """The till that comes after the one that died."""
    till = start()
    said = till.communicate(timeout=300)[0]
    assert till.returncode == 0, said
    check()
    return said


def wait_for_command(letter):
    while not json.loads(events.receive()).get("raw", "").startswith(letter):
        pass


try:
    # A whole day.
    till = start("login", 1, "sale", DUE, "login", 2, "sale", DUE, "collect")
    assert pay(till, PIECES) == PAID
    assert pay(till, PIECES) == PAID
    said = till.communicate(timeout=60)[0]
    assert till.returncode == 0, said
    check()
    assert sold() == 2 * DUE and "Cashier 2 sold 6300" in said and "Settle" not in said, said
    assert machine.state()["books"]["collected"] > 0
    words = [line[0] for line in lines()]
    assert words == "login sale end logout login sale end collect end logout".split(), words

    # Killed while it pays; while the customer pays; with all paid; with the change out, before the journal has it. The
    # till that comes next ends that sale, and goes on with the shift.
    till, expected = start("login", 1, "sale", DUE), sold()
    places = (("busy", PIECES, DUE), ("h", ["20"], 0), ("h", PIECES, None), ("ready", PIECES, DUE))
    for place, pieces, is_sold in (*places[:1 if is_short else None], (None, [], 0)):
        events = WebSocket(machine, "/api/events")
        pay(till, pieces)
        assert expected in (None, sold()), (place, expected, sold())
        expected = None if is_sold is None else sold() + is_sold
        if place == "h":
            wait_for_command(place)
        for state in {"busy": ["busy"], "ready": ["busy", "ready"]}.get(place, []):
            assert machine.post("wait", **{"for": state})[0] == 200
        till.kill()
        till.wait()
        with open(journal, "a", encoding="ascii") as text:
            text.write("end 4 6300 1")  # as a power cut leaves it
        if place:
            till = start("sale", DUE)
    # A device that doesn't tell its commands, as when it is busy, is asked again.
    machine.post("set", refuse={"x": "1"})
    till = start()
    wait_for_command("a")
    machine.post("set", refuse={})
    assert till.wait(60) == 0
    check()
    if is_short:
        sys.exit()

    # A jam while it pays: less comes out, and the till says so. The machine's own end: what was paid in comes back.
    till = start("login", 1, "sale", DUE)
    machine.post("fault", name="coin-jam", after="6 pieces", **{"for": "500ms", "until": "reset"})
    pay(till, PIECES)
    said = till.communicate(timeout=60)[0]
    assert owed() > 0 and f"Settle by hand: {owed()} to the customer" in said, said
    check()
    till = start("login", 1, "sale", DUE)
    pay(till, ["20", "20"])
    machine.kill()
    machine.start()
    till.communicate(timeout=60)
    check()

    # What is stuck can't be given back: it is kept, and nobody else gets it.
    till = start("login", 1, "sale", DUE)
    pay(till, ["10"])
    machine.post("stick", value=1000, count=1000)
    machine.post("stick", value=100, count=1000)
    till.kill()
    till.communicate()
    assert "Settle by hand: 1000 to the customer" in settle()
    machine.post("stick", value=1000, count=0)
    machine.post("stick", value=100, count=0)

    # Anywhere, and with faults.
    chance = random.Random(int(os.environ.get("SEED", "1")))
    for number in range(kills):
        for name in chance.sample(FAULTS, 3):
            length = {"for": "1s"} if name in FAULTS[:5] else {"by": "700ms"} if name.endswith("late") else {}
            machine.post("fault", name=name, chance=chance.choice([0.01, 0.03, 0.1]), seed=number, **length)
        till = start("login", 1, "sale", DUE, "sale", DUE, "collect")
        killer = threading.Timer(chance.uniform(0, 12), till.kill)
        killer.start()
        pay(till, PIECES)
        pay(till, PIECES)
        till.communicate()
        killer.join()
        machine.post("repair")
        settle()
finally:
    machine.kill()
