#!/usr/bin/env python3
"""tllog_test.py <build directory> [what starts a program]...: what tllog tells is what happened.

Sessions of the till against the till's own book; whole simulated days against what customers really paid and
got; logs by hand for jams, torn files and all that is rare."""
import datetime
import io
import json
import os
import re
import shutil
import subprocess
import sys
import tarfile
import tempfile
import threading
import time
import unittest

BUILD = os.path.abspath(sys.argv[1])
EMULATOR = sys.argv[2:]
WINDOWS = bool(EMULATOR) and os.path.exists(BUILD + "/tllog.exe")
SAMPLES = os.path.join(os.path.dirname(os.path.abspath(__file__)), "../docs/samples")
EPOCH = datetime.datetime(1970, 1, 1)


def command(name, *arguments):
    return [*EMULATOR, f"{BUILD}/{name}{'.exe' if WINDOWS else ''}", *map(str, arguments)]


def run(*arguments):
    done = subprocess.run(command("tllog", *arguments), stdout=subprocess.PIPE, check=False)
    return done.returncode, done.stdout.decode("utf-8")


def objects(*arguments):
    """All objects of a view as JSON, and the sales and the total among them."""
    status, text = run(*arguments, "--json")
    every = [json.loads(line) for line in text.split("\n") if line]
    sales = [each for each in every if each["type"] == "sale"]
    total = next((each for each in every if each["type"] == "total"), None)
    return status, every, sales, total


LOAD = ["## " + "=" * 62, "## C API Loaded", "## " + "=" * 62]
UNLOAD = ["## " + "=" * 62, "## C API Unloaded", "## " + "=" * 62]


class Logs:
    """Log files by hand: one clock for all of them."""

    def __init__(self, place, week=47, start="14:00:00.000"):
        self.place, self.week = place, week
        self.now = datetime.datetime.strptime(start, "%H:%M:%S.%f")
        os.makedirs(place, exist_ok=True)

    def stamp(self):
        return f"w{self.week:02} " + self.now.strftime("%H:%M:%S.%f")[:-3] + " "

    def write(self, family, *lines, end="\n", weekday="Mon"):
        name = f"tlerror_Nov.log" if family == "error" else f"tl{family}_{weekday}.log"
        with open(os.path.join(self.place, name), "a", newline="", encoding="latin-1") as file:
            for line in lines:
                dated = f"2026-11-23 {weekday} " if family == "error" else ""
                file.write(dated + self.stamp() + line.replace("|", "\x1c") + end)
        self.now += datetime.timedelta(milliseconds=20)

    def date(self, day="2026-11-23"):
        self.write("api", "=> loginTL(7, 1, message)", f"== loginTL, date: {day}",
                   "== loginTL: Ok! Returning 0 (TL_STATUS_OK): Done")

    def failed(self, family, line):
        self.write(family, "!! " + line)
        self.write("error", "!! " + line)

    def says(self, message):
        self.write("logic", "<- " + message)

    def pays(self, dispense, deposit, receipt="R1", messages=(), status=0, code=0):
        """payoutTL: the command, what the device says to it, the end."""
        self.write("api", f'=> payoutTL({dispense}, {deposit}, "{receipt}", message)')
        self.write("logic", f"=> CTLLogics::payout({dispense},{deposit},{receipt})",
                   f"-> F|{dispense:08}|{deposit:08}|{receipt}")
        for message in messages:
            self.says(message)
        if status:
            self.failed("logic", f"CTLLogics::payout: doPayout stop timed out, return code = {code}")
            self.failed("api", f"payoutTL: Failed! Returning {status}: Timed out")
        else:
            self.write("api", "== payoutTL: Ok! Returning 0 (TL_STATUS_OK): Done")


class Test(unittest.TestCase):
    def setUp(self):
        self.place = tempfile.mkdtemp()
        self.addCleanup(shutil.rmtree, self.place, ignore_errors=True)

    def logs(self, **options):
        return Logs(os.path.join(self.place, "logs"), **options)

    def sales(self, *arguments):
        return objects("sales", os.path.join(self.place, "logs"), *arguments)


class Sessions(Test):
    """The story of each session of the till, against the till's own book."""

    def session(self, *arguments, environment=None):
        logs = os.path.join(self.place, "logs")
        os.makedirs(logs)
        done = subprocess.run(command("till", *arguments), stdout=subprocess.PIPE, text=True,
                              env={**os.environ, "TLLOGS": logs, **(environment or {})})
        return done.stdout

    def check(self, *arguments, count):
        said = self.session(*arguments)
        book = re.search(r"In (\S+), out (\S+), collected", said)
        status, _, sales, total = self.sales()
        self.assertEqual(0, status, sales)
        self.assertEqual(count, len(sales))
        if book:
            money = [round(float(each) * 100) for each in book.groups()]
            self.assertEqual(money, [total["paidIn"], total["paidOut"]])
        return sales

    def test_sale(self):
        sale, = self.check("sale", "--port", "10.0.0.7:5000", count=1)
        self.assertEqual(["10.0.0.7", "SALE-1", 6300, 7000, 700, 700, 0, "ok"],
                         [sale[key] for key in ("folder", "receipt", "due", "paidIn", "owed", "paidOut",
                                                "missing", "result")])

    def test_deposit(self):
        sale, = self.check("sale", "--kind", "deposit", count=1)
        self.assertEqual(["deposit+dispense", 6300, 700],
                         [sale[key] for key in ("kind", "due", "paidOut")])

    def test_regret(self):
        sale, = self.check("sale", "--kind", "regret", count=1)
        self.assertEqual(["given back", None], [sale["result"], sale["due"]])

    def test_levels(self):
        self.check("levels", count=4)

    def test_administration(self):
        said = self.session("admin")
        status, _, sales, _ = self.sales()
        self.assertEqual((0, []), (status, sales), said)

    def test_refused_by_the_device(self):
        self.session("sale", environment={"TLSIM_CONFIG": self.config('{"refuse": {"f": "2"}}')})
        status, _, sales, _ = self.sales()
        # The till gives the money back then.
        self.assertEqual([("given back", 7000, 7000)],
                         [(each["result"], each["paidIn"], each["paidOut"]) for each in sales])

    def config(self, text):
        path = os.path.join(self.place, "device.json")
        with open(path, "w", encoding="utf-8") as file:
            file.write(text)
        return path


class Days(Test):
    """Whole days with every fault: the sums are those of the ledger, or unknown."""

    def test_sums(self):
        known = every = 0
        for seed in range(1, 4 if WINDOWS else 13):
            place = os.path.join(self.place, str(seed))
            os.makedirs(place)
            subprocess.run(command("tlsimulate", "--seed", seed, "--sales", 400, "--logs", "."), cwd=place,
                           stdout=subprocess.DEVNULL, check=True)
            sales = self.compare(seed, place)
            known += sum(each["missing"] is not None for each in sales)
            every += len(sales)
        # Not by knowing nothing.
        self.assertGreater(known, every * 0.95)

    def compare(self, seed, place):
        with open(f"{place}/money.tsv", encoding="ascii") as file:
            money = [line.split() for line in file]
        ins = [(int(at), int(amount)) for at, way, amount in money if way == "in"]
        outs = [(int(at), int(amount)) for at, way, amount in money if way == "out"]
        _, _, sales, _ = objects("sales", f"{place}/logs")
        self.assertGreater(len(sales), 50)
        before, untold, after_unknown = None, 0, False
        for sale in sorted(sales, key=lambda each: each["id"]):
            end = (datetime.datetime.fromisoformat(sale["end"]) - EPOCH) / datetime.timedelta(milliseconds=1)
            if sale["missing"] is None:
                untold, after_unknown = 0, True
            elif before is not None:
                # The next customer may be quick: in the very millisecond in which the device is ready.
                paid_in = sum(amount for at, amount in ins if before <= at < end)
                paid_out = sum(amount for at, amount in outs if before < at <= end)
                self.assertEqual(paid_out, sale["paidOut"], (seed, sale))
                # A piece of which the device tells late is one of the next sale; and what an unknown one has
                # left behind, too.
                untold += paid_in - sale["paidIn"]
                untold = max(0, untold) if after_unknown else untold
                self.assertGreaterEqual(untold, 0, (seed, sale))
                after_unknown = False
            before = end
        return sales


class ByHand(Test):
    def jam(self, logs, end=True):
        logs.date()
        logs.says("a000500000100")
        logs.pays(43700, 50000, status=6, code=2,
                  messages=["a000500001100", "c000037001100", "b000000002100Device error: 02 coin path jammed"])
        if end:
            logs.write("logic", "-> E|3")
            logs.says("a000000000100")

    def test_jam(self):
        for end in (True, False):
            with self.subTest(end=end):
                shutil.rmtree(os.path.join(self.place, "logs"), ignore_errors=True)
                self.jam(self.logs(), end)
                status, _, (sale,), total = self.sales()
                self.assertEqual(1, status)
                self.assertEqual([6300, 50000, 43700, 40000, 3700, 3700],
                                 [sale["due"], sale["paidIn"], sale["owed"], sale["paidOut"], sale["missing"],
                                  total["missing"]])
        _, text = run("errors", os.path.join(self.place, "logs"))
        self.assertIn("REST: 37.00 did NOT come out", text)
        self.assertIn("it may have moved", text)
        self.assertIn("MISSING 37.00", text)
        # The error file repeats what is told already.
        self.assertEqual(1, text.count("payoutTL FAILED"))

    def test_unknown(self):
        cases = {
            "silent": ["a000500001100"],
            "failed without a word": ["a000500001100", "b000000002100Device error: 01 x", "a000000000100"],
            "switched off": ["a000500001100", "a000000000000"],
            "never busy": ["a000000000100"],
        }
        for name, messages in cases.items():
            with self.subTest(name):
                shutil.rmtree(os.path.join(self.place, "logs"), ignore_errors=True)
                logs = self.logs()
                logs.date()
                logs.says("a000500000100")
                logs.pays(43700, 50000, messages=messages, status=6)
                status, _, (sale,), total = self.sales()
                self.assertEqual((1, None, None), (status, sale["paidOut"], total["paidOut"]))
                self.assertTrue(sale["unknown"])

    def test_untaken_money_comes_late(self):
        logs = self.logs()
        logs.date()
        logs.says("a000500000100")
        logs.pays(43700, 50000, messages=["a000500001100"], status=6, code=6)
        logs.now += datetime.timedelta(minutes=3)
        logs.says("a000000000100")
        status, _, (sale,), _ = self.sales()
        self.assertEqual((0, 0), (status, sale["missing"]))
        self.assertGreater(sale["milliseconds"], 180000)

    def test_gates(self):
        logs = self.logs()
        logs.date()
        logs.write("logic", "## CTLSettings::NewSettings: Setting new LogComToCAPI: 0")
        logs.pays(300, 1000)
        logs.write("logic", "## CTLSettings::RestoreSettings: Restored LogComToCAPI: 1")
        status, every, (sale,), _ = self.sales()
        self.assertEqual(1, status)
        self.assertIn("LogComToCAPI", sale["unknown"])
        self.assertEqual(2, sum(each["type"] == "notice" for each in every))

    def test_two_processes(self):
        for overlap in (True, False):
            with self.subTest(overlap=overlap):
                shutil.rmtree(os.path.join(self.place, "logs"), ignore_errors=True)
                logs = self.logs()
                logs.write("api", *LOAD)
                logs.date()
                logs.write("api", *LOAD)
                self.sale(logs)
                logs.write("api", *UNLOAD)
                if overlap: # the first one lived on
                    logs.write("api", "=> isOpenTL(open, message)")
                status, every, (sale,), _ = self.sales()
                self.assertEqual(int(overlap), status)
                self.assertEqual(overlap, "two processes" in sale["unknown"])

    def sale(self, logs, receipt="R1"):
        logs.says("a000010000100")
        logs.pays(300, 1000, receipt, ["a000010001100", "a000000000100"])

    def test_torn_foreign_and_windows_lines(self):
        logs = self.logs()
        logs.date()
        write = logs.write
        logs.write = lambda *lines: write(*lines, end="\r\n")
        self.sale(logs)
        path = os.path.join(logs.place, "tllogic_Mon.log")
        with open(path, "ab") as file: # a dying process, and the next one behind it
            file.write(b"no line of ours \xff\n\0\0\0\r\n" + logs.stamp().encode() + b"<- a0000")
        write("logic", "## " + "=" * 62)
        write("logic", "## Session Starting")
        self.sale(logs, "R2")
        with open(path, "ab") as file:
            file.write(logs.stamp().encode() + b"<- a00009999")
        status, every, sales, total = self.sales()
        self.assertEqual((0, ["R1", "R2"], 2000, 600),
                         (status, [each["receipt"] for each in sales], total["paidIn"], total["paidOut"]))
        _, every, _, _ = objects(logs.place)
        self.assertEqual(2, sum(each.get("torn", False) for each in every))
        self.assertEqual(2, sum(each.get("kind") == "foreign" and "torn" not in each for each in every))

    def test_dates(self):
        last_week = self.logs(week=46)
        last_week.write("logic", "<- a000000000100", weekday="Fri")
        logs = self.logs(week=47)
        logs.date()
        self.sale(logs)
        logs.now -= datetime.timedelta(hours=1) # the clock
        self.sale(logs, "R2")
        os.utime(os.path.join(logs.place, "tllogic_Fri.log"), (10**9, 10**9)) # a copy's age says nothing
        _, every, _, _ = objects(logs.place)
        lines = [each for each in every if each["type"] == "line"]
        self.assertEqual("2026-11-20T14:00:00.000", lines[0]["time"])
        _, _, sales, _ = self.sales()
        self.assertEqual(["R1", "R2"], [each["receipt"] for each in sales])
        self.assertGreater(sales[0]["start"], sales[1]["start"])
        # The call and what it did still meet.
        names = [each["text"][:10] for each in lines if each.get("sale") == 2]
        self.assertEqual(["a000010000", "payoutTL(3", "F\x1c00000300"], names[:3])

    def test_filters_and_width(self):
        logs = self.logs()
        logs.date()
        self.sale(logs)
        self.sale(logs, "R2")
        _, _, sales, _ = self.sales("--receipt", "R2")
        self.assertEqual(["R2"], [each["receipt"] for each in sales])
        _, _, sales, _ = self.sales("--since", "2026-11-24")
        self.assertEqual([], sales)
        _, text = run(logs.place, "--receipt", "R2", "--kind", "command", "--width", "60")
        self.assertNotIn("R1", text)
        self.assertEqual(1, text.count("F|00000300|"))
        self.assertLessEqual(max(map(len, text.split("\n"))), 60)

    def test_explain(self):
        status, text = run("explain", "payoutTL", "6")
        self.assertEqual(0, status)
        self.assertIn("it may have moved", text)
        self.assertEqual(text, run("explain", "payoutTL: Failed! Returning 6: Timed out")[1])
        self.assertIn("loginTL", run("explain", "Timed out")[1])
        self.assertEqual(1, run("explain", "nonsense")[0])

    def test_pack(self):
        logs = self.logs()
        secrets = ["SECRET-1", "GEHEIM"]
        logs.write("api", f"=> loginStrTL(GEHEIM, GEHEIM, message)", "== loginStrTL, date: 2026-11-23")
        logs.write("logic", "=> CTLLogics::login(GEHEIM,GEHEIM)", "-> A202611231400" + "06GEHEIM")
        logs.says("a000010000100")
        logs.pays(300, 1000, "SECRET-1", ["a000010001100", "a000000000100"])
        logs.write("logic", "=> CTLLogics::payout(300, 1000, SECRET-1, amountRest)",
                   "== COstrivane::doPayOut: Transaction Id: SECRET-1", "-> P||#SECRET-1", "-> N|1#SECRET-1")
        logs.write("api", '=> endReplenishTL(SECRET-1", message)', '=> depositTL("SECRET-1", message)')
        settings = os.path.join(self.place, "tllogics.ini")
        with open(settings, "w", encoding="ascii") as file:
            file.write("[Operation]\nPayOutOkCheck=1\n")
        logs.write("logic", "## CTLLogics::getIniFileSettings: About to read settings from configuration file: "
                   + settings)
        archive = os.path.join(self.place, "support.tar")
        for mask in (True, False):
            self.assertEqual(0, run("pack", archive, logs.place, *["--mask"] * mask)[0])
            with open(archive, "rb") as file:
                content = file.read()
            self.assertEqual([not mask] * 2, [each.encode() in content for each in secrets])
            with tarfile.open(fileobj=io.BytesIO(content)) as tar:
                names = tar.getnames()
                self.assertIn("logs/tlapi_Mon.log", names)
                self.assertIn("settings/tllogics.ini", names)
                tar.extractall(os.path.join(self.place, f"unpacked{mask}"))
            # It tells the same story.
            _, _, (sale, *_), _ = objects("sales", os.path.join(self.place, f"unpacked{mask}", "logs"))
            self.assertEqual(300, sale["paidOut"])

    def test_follow(self):
        logs = self.logs()
        logs.date()
        follower = subprocess.Popen(command("tllog", "sales", logs.place, "--json", "--follow", "--for", "4"),
                                    stdout=subprocess.PIPE, text=True)
        said = []
        listener = threading.Thread(target=lambda: said.extend(follower.stdout))
        listener.start()
        time.sleep(1.5 if WINDOWS else 0.5)
        self.sale(logs)
        time.sleep(0.5)
        for family in ("api", "logic"): # the week is over
            open(os.path.join(logs.place, f"tl{family}_Mon.log"), "w", encoding="ascii").close()
        logs.week = 48
        logs.date("2026-11-30")
        self.sale(logs, "R2")
        logs.write("api", "=> logoutTL(message)", weekday="Tue") # a new day's file
        self.sale(logs, "R3")
        listener.join()
        self.assertEqual(["R1", "R2", "R3"], [json.loads(line)["receipt"] for line in said if '"sale"' in line])
        follower.wait()

    @unittest.skipIf(WINDOWS, "a viewer of Debian's")
    def test_lnav(self):
        logs = self.logs()
        logs.date()
        self.jam(logs)
        home = os.path.join(self.place, "home")
        shutil.copytree(SAMPLES + "/lnav", home + "/formats/tllogics")
        said = subprocess.run(["lnav", "-n", "-N", "-I", home, "-c",
                               ";SELECT count(*) FROM tllogics_log WHERE log_level = 'error'", "-c",
                               ":write-csv-to -", *[os.path.join(logs.place, each) for each in
                                                    sorted(os.listdir(logs.place))]],
                              stdout=subprocess.PIPE, text=True, env={**os.environ, "HOME": home}).stdout
        self.assertEqual("4", said.split()[-1])

    @unittest.skipIf(WINDOWS, "a shipper of Debian's")
    def test_rsyslog(self):
        logs = self.logs()
        with open(SAMPLES + "/rsyslog/tllogics.conf", encoding="utf-8") as file:
            config = file.read()
        for place in ("/var/lib/tllogics-shipper", "/var/spool/tllogics"):
            config = config.replace(place, self.place)
        path = os.path.join(self.place, "shipper.conf")
        with open(path, "w", encoding="utf-8") as file:
            file.write(config.replace("/var/log/tllogics", logs.place))
        logs.write("error", '!! payoutTL: Failed! Returning 6: "x"')
        shipper = subprocess.Popen(["/usr/sbin/rsyslogd", "-n", "-f", path, "-i", self.place + "/pid"])
        self.addCleanup(shipper.wait)
        self.addCleanup(shipper.terminate)
        self.wait_for(1)
        open(os.path.join(logs.place, "tlerror_Nov.log"), "w", encoding="ascii").close()
        time.sleep(0.5)
        logs.write("error", "!! the next year")
        shipped = self.wait_for(2)
        self.assertIn('Returning 6: "x"', shipped[0]["text"])
        self.assertIn("the next year", shipped[1]["text"])

    def wait_for(self, count):
        path = os.path.join(self.place, "errors.jsonl")
        for _ in range(100):
            if os.path.exists(path):
                with open(path, encoding="utf-8") as file:
                    lines = file.readlines()
                if len(lines) >= count:
                    return [json.loads(line) for line in lines]
            time.sleep(0.1)
        self.fail("nothing was shipped")


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1], verbosity=2)
