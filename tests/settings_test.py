"""Settings and scripts from files, as people make and break them: settings_test.py <tellarion> <till>"""

import glob
import json
import os
import subprocess
import sys
import tempfile
import time
import unittest

TELLARION, TILL = map(os.path.abspath, sys.argv[1:])
SCRIPTS = os.path.join(os.path.dirname(os.path.abspath(__file__)), "..", "examples", "scripts")


class Files(unittest.TestCase):
    def setUp(self):
        folder = tempfile.TemporaryDirectory()
        self.addCleanup(folder.cleanup)
        self.folder = folder.name

    def write(self, text):
        with open(os.path.join(self.folder, "f.json"), "w", encoding="utf-8") as file:
            file.write(text)

    def run_it(self, *words):
        done = subprocess.run([TELLARION, *words], cwd=self.folder, capture_output=True, text=True, timeout=30, check=False)
        return done.returncode, (done.stdout + done.stderr).strip()

    def test_what_is_wrong_and_where(self):
        for text, wrong in (
                ('{\n  "payOutTme": 5\n}', '2:3: payOutTme: is not known here; did you mean "payOutTime"?'),
                ('{// \u00e4\n/* "x" */ "drawer": [\n {"value": 1}, {"value": 2, "count": 5, "capacity": 2}]}',
                 '3:29: drawer[1].count: must not be above "capacity"'),
                ('{"preset": "SEK", "preset": "EUR"}', '1:19: preset: is there twice'),
                ('\ufeff{"drawer": [{"value": 1, "value": 2}]}', '1:26: drawer[0].value: is there twice'),
                ('{"preset": "XYZ"}', '1:2: preset: must be one of "SEK", "EUR", "USD", "GBP", "JPY"'),
                ('{"faults": [{"name": "note-jamm"}]}', '1:14: faults[0].name: is no fault: note-jamm; did you mean note-jam?'),
                ('[]', '1:1: must be an object')):
            self.write(text)
            self.assertEqual((1, "f.json:" + wrong), self.run_it("check", "f.json"))
            self.assertEqual((1, "f.json:" + wrong), self.run_it("serve", "--settings", "f.json"))
        self.write('{"preset": "SEK"\n  "speed": 2}')
        status, said = self.run_it("check", "f.json")
        self.assertEqual(1, status)
        self.assertTrue(said.startswith("f.json:2:") and "not JSON" in said, said)

    def test_what_can_be_used(self):
        status, defaults = self.run_it("defaults")
        self.write(defaults)
        self.assertEqual((0, 2), (status, json.loads(defaults)["decimals"]))
        self.assertEqual((0, "f.json: can be used"), self.run_it("check", "f.json"))
        self.write('{"preset": "JPY", "device": "legacy", "messageGap": 1, "speed": 10} // done')
        self.assertEqual((0, 'f.json: note: "messageGap" is raised to 30 ms, the least that the library can see\n'
                             'f.json: can be used'), self.run_it("check", "f.json"))

    def play(self, script, due):
        machine = subprocess.Popen([TELLARION, "--port", "0", "--port-file", "port", "--script", script], cwd=self.folder,
                                   stdout=subprocess.PIPE, text=True)
        self.addCleanup(machine.stdout.close)
        self.addCleanup(machine.kill)
        port = os.path.join(self.folder, "port")
        while not os.path.exists(port):
            self.assertIsNone(machine.poll())
            time.sleep(0.01)
        with open(port, encoding="ascii") as file:
            address = "127.0.0.1:" + file.read().strip()
        subprocess.run([TILL, "sale", "--due", due, "--port", address], stdout=subprocess.DEVNULL, check=False,
                       env=dict(os.environ, TLLOGS=self.folder), timeout=60)
        said = machine.communicate(timeout=60)[0]
        return machine.returncode, said

    def test_scripts(self):
        scripts = glob.glob(os.path.join(SCRIPTS, "*.json"))
        self.assertEqual(3, len(scripts))
        for script in scripts:
            status, said = self.play(script, "63")
            self.assertEqual(0, status, said)
        self.write('[{"on": "login", "do": "insert", "value": "100"}, {"expect": "payout 38.00", "within": "1s"},'
                   '{"do": "insert", "value": "7"}, {"on": "no-till"}]')
        status, said = self.play("f.json", "63")
        self.assertEqual(1, status)
        self.assertIn("expect payout 38.00: FAILED, not in 1 s; 37.00 came out", said)
        self.assertIn("insert: FAILED, ", said)
        self.assertIn("4 steps, 2 failed", said)
        self.write('[{"expect": "paymout 1"}]')
        self.assertEqual((1, "f.json:1:3: [0].expect: is nothing to wait for: paymout; did you mean payout?"),
                         self.run_it("--script", "f.json"))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
