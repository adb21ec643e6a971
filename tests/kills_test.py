"""Kills the machine, and the till, at random moments of sales: no piece is lost, none is there twice, and the till's log is
whole.

Arguments: the number of kills of each, and the programs "tellarion" and "till", each behind an emulator if it
needs one, with "--" between.
"""
import collections
import http.client
import json
import os
import random
import re
import shutil
import subprocess
import sys
import tempfile
import threading
import time

from tellarion import Machine, WebSocket

DUE, PIECES = 6300, (5000, 2000)
SETTINGS = {"answerDelay": 1, "messageGap": 20, "payOutTime": 150,
            "drawer": [{"value": 100, "count": 100}, {"value": 200, "count": 1}, {"value": 500, "count": 1},
                       {"value": 1000, "count": 50}, {"value": 2000, "kind": "note", "count": 50},
                       {"value": 5000, "kind": "note", "count": 40}]}
LINE = re.compile(rb"([0-9-]{10} \w{3} )?w\d\d \d\d:\d\d:\d\d\.\d{3} (=>|<=|->|<-|==|!!|##) [^\r\n\0]*\r?\n")
GONE = (OSError, http.client.HTTPException, ValueError)


def pieces_of(entries):
    return collections.Counter({entry["value"]: entry["count"] for entry in entries})


class Customer:
    """Puts in and takes, and knows of every piece where it is, but for the one in the hand when the machine dies."""

    def __init__(self, machine):
        self.machine = machine
        self.holds = collections.Counter()
        self.in_hand = collections.Counter()
        self.there = self.look()

    def look(self):
        state = self.machine.state()
        assert state["books"]["balance"], state
        return pieces_of(state["drawer"]["units"]) + pieces_of(state["tray"]["pieces"])

    def insert(self, piece):
        self.in_hand[piece] += 1
        self.holds[piece] -= self.machine.post("insert", value=piece)[1]["took"] // piece
        self.in_hand.clear()

    def take(self):
        self.in_hand = -pieces_of(self.machine.state()["tray"]["pieces"])
        self.in_hand.subtract(pieces_of(self.machine.state()["tray"]["pieces"]))
        self.holds.update(pieces_of(self.machine.post("take")[1].get("pieces", [])))
        self.in_hand.clear()

    def check(self):
        """Every piece is in the machine or with the customer."""
        now = self.look()
        moved = {value: self.there[value] - now[value] - self.holds[value] for value in self.there | now}
        wrong = {value: count for value, count in moved.items() if count}
        if wrong:  # then it is what was in the hand, and all of it
            assert wrong == {value: -count for value, count in self.in_hand.items() if count}, (wrong, self.in_hand)
            self.holds.update(wrong)
        self.in_hand.clear()


def sell(machine, customer, till):
    """One sale, to its end or to somebody's."""
    while till.poll() is None and not machine.state()["payIn"]:
        time.sleep(0.005)
    for piece in PIECES:
        customer.insert(piece)
        time.sleep(0.02)
    till.wait(60)
    customer.take()


def give_back(machine):
    """A till comes, finds what was paid in, and gives it back."""
    till = WebSocket(machine, "/link")
    assert till.receive().startswith(b"o0 ")
    for number, command in enumerate((b"a\x1c01\x1c02\x1c1200", b"e\x1c4")):
        till.send(b"c%d %s" % (number, command))
        machine.post("wait", **{"for": "ready"})
        time.sleep(0.1)
    assert machine.post("wait", **{"for": "paid-in", "amount": 0})[0] == 200
    machine.post("wait", **{"for": "ready"})
    till.close()
    while machine.state()["till"]:
        time.sleep(0.005)


def check_logs(directory):
    """Every line that a killed till left is whole, but for the last one. The next till begins new files."""
    for folder, _, names in os.walk(directory):
        for name in names:
            with open(os.path.join(folder, name), "rb") as file:
                whole = file.read().splitlines(keepends=True)[:-1]
            for line in whole:
                assert LINE.fullmatch(line), (name, line)
    shutil.rmtree(directory, ignore_errors=True)  # killed before its first line, it left none


def main():
    programs = " ".join(sys.argv[2:]).split(" -- ")
    tellarion, till_program = ([os.path.abspath(word) for word in program.split()] for program in programs)
    directory = tempfile.mkdtemp()
    with open(os.path.join(directory, "settings"), "w", encoding="ascii") as file:
        json.dump(SETTINGS, file)
    machine = Machine(tellarion, "--settings", "settings", "--state", "state", directory=directory)
    customer = Customer(machine)

    def start_till():
        return subprocess.Popen([*till_program, "sale", "--due", "63", "--patience", "1", "--port", f"127.0.0.1:{machine.port}"],
                                cwd=directory, env={**os.environ, "TLLOGS": "logs"}, stdout=subprocess.DEVNULL)

    def strike():
        machine.kill()
        machine.start()

    begin = time.monotonic()
    till = start_till()
    sell(machine, customer, till)
    assert till.returncode == 0
    customer.check()
    whole = time.monotonic() - begin
    chance = random.Random(int(os.environ.get("SEED", "1")))
    ends = collections.Counter()
    try:
        for number in range(2 * int(sys.argv[1])):
            kills_machine = number % 2 == 0
            before = machine.state()["books"]
            till = start_till()
            killer = threading.Timer(chance.uniform(0, 1.1 * whole), strike if kills_machine else till.kill)
            killer.start()
            try:
                sell(machine, customer, till)
            except GONE:
                pass
            killer.join()
            till.wait(60)
            if not kills_machine:
                check_logs(os.path.join(directory, "logs"))
            while machine.state()["status"] == "busy" or machine.state()["till"]:
                time.sleep(0.005)
            customer.check()
            state = machine.state()
            paid = state["books"]["paidIn"] - before["paidIn"]
            out = state["books"]["paidOut"] - before["paidOut"]
            # Who is still owed something has not got it already.
            assert 0 <= out + state["paidIn"] <= paid, (out, paid, state)
            ends[(paid, out, state["paidIn"])] += 1
            if state["paidIn"]:
                give_back(machine)
            customer.take()
            customer.check()
    finally:
        machine.kill()
    for (paid, out, still), count in sorted(ends.items()):
        print(f"{count:4} times paid in {paid / 100:6.2f}, came out {out / 100:6.2f}, still paid in {still / 100:6.2f}")



main()
