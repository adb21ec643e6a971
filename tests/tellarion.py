"""The program "tellarion" for tests: started on any port, asked by HTTP and by WebSocket."""
import base64
import http.client
import json
import os
import socket
import struct
import subprocess
import time


class Machine:
    """One machine from its start to its end. "command" is the program, behind an emulator if it needs one."""

    def __init__(self, command, *arguments, directory="."):
        self.command = command
        self.directory = directory
        self.arguments = arguments
        self.port = 0
        self.start()

    def start(self):
        """Again on the same port, if it had one."""
        port_file = os.path.join(self.directory, f"port.{time.monotonic_ns()}")
        self.process = subprocess.Popen(
            [*self.command, "serve", "--port", str(self.port), "--port-file", os.path.basename(port_file),
             *self.arguments], cwd=self.directory, stdout=subprocess.DEVNULL)
        end = time.monotonic() + 30
        while not os.path.exists(port_file):
            if self.process.poll() is not None or time.monotonic() > end:
                raise RuntimeError(f"no machine: exit status {self.process.poll()}")
            time.sleep(0.01)
        with open(port_file, encoding="ascii") as file:
            self.port = int(file.read())
        os.remove(port_file)

    def kill(self):
        self.process.kill()
        self.process.wait()

    def call(self, *words):
        """A verb from the shell: exit status and output."""
        done = subprocess.run([*self.command, *words, "--port", str(self.port)], cwd=self.directory,
                              capture_output=True, text=True, timeout=60, check=False)
        return done.returncode, done.stdout, done.stderr

    def request(self, method, path, body=None, **headers):
        """Status and answer."""
        connection = http.client.HTTPConnection("127.0.0.1", self.port, timeout=30)
        try:
            data = body if body is None or isinstance(body, (bytes, str)) else json.dumps(body)
            connection.request(method, path, data, headers)
            response = connection.getresponse()
            return response.status, json.loads(response.read())
        finally:
            connection.close()

    def post(self, verb, **members):
        return self.request("POST", "/api/" + verb, members)

    def state(self):
        return self.request("GET", "/api/state")[1]

    def connect(self, receive_buffer=None):
        connection = socket.socket()
        if receive_buffer:
            connection.setsockopt(socket.SOL_SOCKET, socket.SO_RCVBUF, receive_buffer)
        connection.settimeout(30)
        connection.connect(("127.0.0.1", self.port))
        return connection

    def raw(self, data, ends=False):
        """All that comes back on bytes as they are."""
        with self.connect() as connection:
            try:
                connection.sendall(data)
                if ends:
                    connection.shutdown(socket.SHUT_WR)
                answer = b""
                while piece := connection.recv(65536):
                    answer += piece
            except ConnectionError:
                pass
            return answer


class WebSocket:
    def __init__(self, machine, path, receive_buffer=None):
        self.connection = machine.connect(receive_buffer)
        key = base64.b64encode(os.urandom(16)).decode()
        self.connection.sendall(
            (f"GET {path} HTTP/1.1\r\nHost: 127.0.0.1:{machine.port}\r\nUpgrade: websocket\r\n"
             f"Connection: Upgrade\r\nSec-WebSocket-Key: {key}\r\nSec-WebSocket-Version: 13\r\n\r\n").encode())
        self.buffer = b""
        while b"\r\n\r\n" not in self.buffer:
            self.buffer += self.connection.recv(65536)
        head, self.buffer = self.buffer.split(b"\r\n\r\n", 1)
        self.status = int(head.split()[1])

    def send(self, payload, first=0x82):
        size = len(payload)
        length = struct.pack("!B", 0x80 | size) if size < 126 else \
            struct.pack("!BH", 0x80 | 126, size) if size < 65536 else struct.pack("!BQ", 0x80 | 127, size)
        mask = os.urandom(4)
        masked = bytes(byte ^ mask[i % 4] for i, byte in enumerate(payload))
        self.connection.sendall(bytes([first]) + length + mask + masked)

    def receive(self):
        """The next message; None if the connection is at its end."""
        try:
            while True:
                first, size = self._take(2)
                if size == 126:
                    size, = struct.unpack("!H", self._take(2))
                elif size == 127:
                    size, = struct.unpack("!Q", self._take(8))
                payload = self._take(size)
                if first & 15 in (1, 2):
                    return payload
        except (ConnectionError, EOFError):
            return None

    def _take(self, size):
        while len(self.buffer) < size:
            piece = self.connection.recv(65536)
            if not piece:
                raise EOFError
            self.buffer += piece
        taken, self.buffer = self.buffer[:size], self.buffer[size:]
        return taken

    def close(self):
        self.connection.close()
