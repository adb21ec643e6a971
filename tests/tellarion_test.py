"""What the program "tellarion" does with clients of every kind, and from the shell.

Arguments: the program, behind an emulator if it needs one.
"""
import json
import os
import random
import socket
import subprocess
import sys
import tempfile
import time
import unittest

from tellarion import Machine, WebSocket

COMMAND = [os.path.abspath(word) for word in sys.argv[1:]]
STATE = b"GET /api/state HTTP/1.1\r\nHost: 127.0.0.1\r\n"


def status_of(answer):
    return int(answer.split()[1]) if answer else None


class Tellarion(unittest.TestCase):
    @classmethod
    def setUpClass(cls):
        cls.machine = Machine(COMMAND, directory=tempfile.mkdtemp())

    @classmethod
    def tearDownClass(cls):
        cls.machine.kill()

    def tearDown(self):
        # Whatever was done to it, it is there.
        self.assertIsNone(self.machine.process.poll())
        self.assertEqual(200, self.machine.request("GET", "/api/state")[0])

    def test_who_may_come(self):
        for name, header in ((200, b"Host: 127.0.0.1:1"), (200, b"Host: LOCALHOST:7410"),
                             (200, b"Host: localhost\r\nOrigin: http://localhost"),
                             (403, b"Host: evil.example"), (403, b"Host: 127.0.0.1.evil.example"),
                             (403, b"X: y"), (403, b"Host: localhost\r\nHost: evil.example"),
                             (403, b"Host: localhost\r\nOrigin: http://evil.example"),
                             (403, b"Host: localhost:1\r\nOrigin: http://localhost:2"),
                             (403, b"Host: localhost\r\nOrigin: null"),
                             (403, b"Host: localhost\r\nOrigin: http://localhost\r\nOrigin: http://evil.example")):
            for request in (b"GET /api/state", b"GET /nothing", b"POST /api/reset"):
                answer = self.machine.raw(request + b" HTTP/1.1\r\nConnection: close\r\nContent-Length: 0\r\n"
                                          + header + b"\r\n\r\n")
                if name == 403:
                    self.assertEqual(403, status_of(answer), header)
                elif request == b"GET /api/state":
                    self.assertEqual(200, status_of(answer), header)

    def test_wrong_requests(self):
        nested = "[" * 30000
        for status, method, path, body in (
                (404, "GET", "/api/statex", None), (404, "POST", "/api/", "{}"), (404, "GET", "/../etc", None),
                (404, "POST", "/api/insert/", "{}"), (405, "POST", "/api/state", "{}"),
                (405, "GET", "/api/insert", None), (405, "DELETE", "/api/take", None),
                (405, "POST", "/api/events", "{}"), (400, "GET", "/link", None),
                (400, "POST", "/api/insert", "{"), (400, "POST", "/api/insert", nested),
                (400, "POST", "/api/set", '{"x":' + "[" * 30000 + "]" * 30000 + "}"),
                (400, "POST", "/api/insert", b'{"pieces":["\xff\xfe"]}'),
                (400, "POST", "/api/insert", '{"pieces":[1e999]}'), (400, "POST", "/api/insert", "7"),
                (400, "POST", "/api/insert", '{"pieces":"%s%n"}'), (400, "POST", "/api/fault", '{"name":7}'),
                (400, "POST", "/api/fault", '{"name":"no-such"}'), (400, "POST", "/api/wait", '{"for":"x"}'),
                (400, "POST", "/api/set", '{"decimals":-1}'),
                (413, "POST", "/api/insert", "x" * (64 * 1024 + 1))):
            self.assertEqual(status, self.machine.request(method, path, body)[0], (method, path, str(body)[:50]))
        self.assertIn("line 2, column 8",
                      self.machine.request("POST", "/api/insert", '{"pieces":\n  ["50"')[1]["why"])

    def test_bytes_that_are_no_requests(self):
        for status, data in ((400, b"\x16\x03\x01\x02\x00\x01" * 20), (400, b"GET\r\n\r\n"),
                             (431, STATE + b"A: " + b"b" * 40000), (431, b"GET /" + b"a" * 40000),
                             (431, STATE + b"A: b\r\n" * 10000),
                             (400, STATE + b"Content-Length: -1\r\n\r\n"),
                             (400, STATE + b"Content-Length: 99999999999999999999999\r\n\r\n"),
                             (413, b"POST /api/insert HTTP/1.1\r\nHost: localhost\r\nTransfer-Encoding: chunked"
                                   b"\r\n\r\n20000\r\n" + b"x" * 0x20000 + b"\r\n0\r\n\r\n")):
            self.assertEqual(status, status_of(self.machine.raw(data, ends=True)), data[:60])
        # Said all, and still there to read; and several at once.
        self.assertEqual(200, status_of(self.machine.raw(STATE + b"\r\n", ends=True)))
        several = self.machine.raw((STATE + b"\r\n") * 5 + STATE + b"Connection: close\r\n\r\n")
        self.assertEqual(6, several.count(b"HTTP/1.1 200 OK"))
        chance = random.Random(7)
        for _ in range(100):
            data = bytearray(STATE + b"Connection: close\r\n\r\n" if chance.random() < 0.5 else
                             b"POST /api/insert HTTP/1.1\r\nHost: localhost\r\nContent-Length: 17\r\n\r\n{\"pieces\":[\"50\"]}")
            for _ in range(chance.randrange(1, 8)):
                data[chance.randrange(len(data))] = chance.randrange(256)
            with self.machine.connect() as connection:
                connection.sendall(data[:chance.randrange(len(data) + 1)])

    def test_more_clients_than_it_takes(self):
        idle = [self.machine.connect() for _ in range(100)]
        try:
            idle[-1].settimeout(5)
            self.assertEqual(503, status_of(idle[-1].recv(1000)))
        finally:
            for connection in idle:
                connection.close()
        end = time.monotonic() + 10
        while status_of(self.machine.raw(STATE + b"Connection: close\r\n\r\n")) != 200:
            self.assertLess(time.monotonic(), end)

    def test_waiting(self):
        begin = time.monotonic()
        status, answer = self.machine.post("wait", **{"for": "paid-in", "amount": "999", "timeout": "300ms"})
        self.assertEqual(409, status)
        self.assertIn("why", answer)
        self.assertTrue(0.2 < time.monotonic() - begin < 5)
        # Who leaves while it waits doesn't stay in the way of others.
        for _ in range(100):
            with self.machine.connect() as connection:
                body = b'{"for":"error","timeout":"500s"}'
                connection.sendall(b"POST /api/wait HTTP/1.1\r\nHost: localhost\r\nContent-Length: %d\r\n\r\n%s"
                                   % (len(body), body))

    def test_events(self):
        follower = WebSocket(self.machine, "/api/events")
        sleeper = WebSocket(self.machine, "/api/events", receive_buffer=4096)
        self.assertEqual("state", json.loads(follower.receive())["kind"])
        for _ in range(3):
            self.machine.post("fault", name="note-jam")
            self.machine.post("repair")
        heard = [json.loads(follower.receive())["kind"] for _ in range(6)]
        self.assertIn("fault", heard)
        follower.send(b"whatever")
        follower.send(b"\xff\xfe", first=0x81)  # no UTF-8: cut off
        while follower.receive() is not None:
            pass
        # Who doesn't read is cut off as well, sooner or later, and holds nobody up.
        for _ in range(200):
            self.machine.post("fault", name="note-jam")
            self.machine.post("repair")
        sleeper.close()

    def test_the_link(self):
        till = WebSocket(self.machine, "/link")
        self.assertTrue(till.receive().startswith(b"o0 "))
        other = WebSocket(self.machine, "/link")
        self.assertTrue(other.receive().startswith(b"o24 "))
        self.assertIsNone(other.receive())
        till.send(b"c7 a\x1c01\x1c02\x1c1200")
        self.assertEqual(b"a7 a\x1c0Ok", till.receive())
        self.assertRegex(till.receive(), b"^ma[0-9]{8}01$")
        # Transaction ids are bytes.
        till.send(b"c8 c\x1c00000000\x1c\xe5\xe4\xf6\xff%n")
        self.assertTrue(till.receive().startswith(b"a8 c\x1c"))
        till.send(b"x")
        while till.receive() is not None:
            pass
        for junk in (b"", b"c", b"c1", b"cx j", b"c99999999999 j", b"\x00\xff", b"c1 j" * 20000):
            till = WebSocket(self.machine, "/link")
            self.assertTrue(till.receive().startswith(b"o0 "), junk[:20])
            till.send(junk)
            while till.receive() is not None:
                pass
        # Commands without end, and nobody who reads the answers.
        till = WebSocket(self.machine, "/link", receive_buffer=4096)
        try:
            for number in range(100000):
                till.send(b"c%d j" % number)
        except (ConnectionError, socket.timeout):
            pass
        till.close()
        # One that dies at once frees the device.
        WebSocket(self.machine, "/link").close()
        till = WebSocket(self.machine, "/link")
        self.assertTrue(till.receive().startswith(b"o0 "))
        till.send(b"b")
        self.assertEqual(b"b", till.receive())
        self.assertIsNone(till.receive())

    def test_from_the_shell(self):
        call = self.machine.call
        self.assertEqual(0, call("reset")[0])
        status, output, error = call("insert", "50", "20", "5")
        self.assertEqual((1, 0), (status, json.loads(output)["took"]))
        self.assertIn("tellarion: ", error)
        till = WebSocket(self.machine, "/link")
        till.send(b"c1 a\x1c01\x1c02\x1c1200")
        self.assertEqual(0, call("wait", "ready", "--timeout", "5s")[0])
        self.assertEqual((0, 7500), (lambda s, o, _: (s, json.loads(o)["took"]))(*call("insert", "50", "20", "5")))
        self.assertEqual(0, call("wait", "paid-in", "75.00", "--timeout", "1s")[0])
        self.assertEqual(1, call("wait", "paid-in", "75.01", "--timeout", "50ms")[0])
        self.assertEqual(0, call("wait", "till")[0])
        self.assertEqual(7500, json.loads(call("state")[1])["paidIn"])
        self.assertEqual(0, call("fault", "note-jam", "--after", "2", "pieces", "--for", "5s")[0])
        self.assertEqual("note-jam", self.machine.state()["faults"][0]["name"])
        self.assertEqual(0, call("repair", "note-jam")[0])
        self.assertEqual(0, call("set", "payOutTime=800", "sessionTexts=false")[0])
        for words in (("stick", "20", "1"), ("refill", "20"), ("power", "off"), ("power", "on")):
            self.assertEqual(0, call(*words)[0], words)
        self.assertEqual(1, call("take")[0])
        till.close()
        for words in (("no-such-verb",), ("insert",), ("insert", "abc"), ("fault", "no-such"), ("wait", "x"),
                      ("set", "payOutTime"), ("set", "noSuch=1"), ("power", "sideways"),
                      ("state", "--state", "x"), ("--port", "70000", "state"), ("--port", "0", "state")):
            done = subprocess.run([*COMMAND, *words, *([] if "--port" in words else ["--port", str(self.machine.port)])],
                                  capture_output=True, timeout=30, check=False)
            self.assertEqual(2, done.returncode, words)
        with socket.socket() as nobody:
            nobody.bind(("127.0.0.1", 0))
            port = str(nobody.getsockname()[1])
            done = subprocess.run([*COMMAND, "state"], env={**os.environ, "TELLARION_PORT": port},
                                  capture_output=True, timeout=30, check=False)
            self.assertEqual(3, done.returncode)
        # The port is taken.
        self.assertEqual(1, call("serve")[0])


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
