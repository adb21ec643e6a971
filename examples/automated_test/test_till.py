#!/usr/bin/env python3
"""A test of a till, with Python's standard library only: the machine is a program, and its customer is this one.

    python3 test_till.py [<directory of the programs>]

The till under test is the one of the examples. Put your own in its place: it has to open the port
"Type:RS232;Name:127.0.0.1:<port>;".
"""
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest
import urllib.error
import urllib.request

PROGRAMS = os.path.abspath(sys.argv.pop(1) if len(sys.argv) > 1 else "build/linux")


class Machine:
    """A simulated Tellarion of its own for each test, on whatever port is free."""

    def __init__(self, directory):
        port_file = os.path.join(directory, "port")
        self.process = subprocess.Popen(
            [os.path.join(PROGRAMS, "tellarion"), "serve", "--port", "0", "--port-file", port_file],
            stdout=subprocess.DEVNULL)
        while not os.path.exists(port_file):
            time.sleep(0.01)
        with open(port_file, encoding="ascii") as file:
            self.port = int(file.read())

    def ask(self, path, **members):
        """GET for the state, POST for a verb with its members. The HTTP status, and what was answered."""
        data = None if path == "state" else json.dumps(members).encode()
        try:
            with urllib.request.urlopen(f"http://127.0.0.1:{self.port}/api/{path}", data) as answer:
                return answer.status, json.load(answer)
        except urllib.error.HTTPError as refusal:
            return refusal.code, json.load(refusal)

    def do(self, verb, **members):
        """A verb that must not be refused."""
        status, answer = self.ask(verb, **members)
        if status != 200:
            raise AssertionError(f"{verb}: {answer['why']}")
        return answer

    def wait(self, what, **members):
        return self.do("wait", **{"for": what, "timeout": "10s", **members})

    def end(self):
        self.process.terminate()
        self.process.wait()


class TillTest(unittest.TestCase):
    def setUp(self):
        self.directory = tempfile.TemporaryDirectory()
        self.machine = Machine(self.directory.name)

    def tearDown(self):
        self.machine.end()
        self.directory.cleanup()

    def start_till(self, due):
        # All ports have their logs in folders of one name, so each till gets a directory of its own.
        environment = {**os.environ, "TLLOGS": os.path.join(self.directory.name, "logs")}
        till = subprocess.Popen(
            [os.path.join(PROGRAMS, "till"), "sale", "--due", due, "--port", f"127.0.0.1:{self.machine.port}"],
            env=environment, stdout=subprocess.PIPE, text=True)
        self.addCleanup(till.stdout.close)
        self.addCleanup(till.kill)
        self.machine.wait("ready")
        return till

    def test_the_customer_gets_change(self):
        till = self.start_till("63.00")
        # Texts are amounts as people write them, numbers are the smallest unit: 5000 is "50.00".
        self.assertEqual(7000, self.machine.do("insert", pieces=["50.00", "20.00"])["took"])
        self.assertEqual(0, till.wait(20))
        self.assertEqual(700, self.machine.do("take")["took"])
        self.assertEqual(0, self.machine.ask("state")[1]["paidIn"])

    def test_nothing_is_taken_while_no_till_is_there(self):
        status, answer = self.machine.ask("insert", value="50.00")
        self.assertEqual((409, 0), (status, answer["took"]))

    def test_a_jam_in_the_change(self):
        till = self.start_till("63.00")
        # After two pieces in and one out. The till ends the error by a reset, once the jam is gone.
        self.machine.do("fault", name="coin-jam", after="3 pieces", until="reset", **{"for": "500ms"})
        self.machine.do("insert", pieces=["50.00", "20.00"])
        output, _ = till.communicate(timeout=60)
        self.assertEqual(1, till.returncode)
        self.assertIn("5.00 came out", output)
        self.assertEqual(500, self.machine.do("take")["took"])


if __name__ == "__main__":
    unittest.main()
