"""The Python binding on the simulated device. Arguments: the source's directory, that of the shared libraries."""
import ctypes
import gc
import inspect
import os
import re
import subprocess
import sys
import tempfile
import threading
import time
import unittest
import unittest.mock

SOURCE, BUILD = (os.path.abspath(path) for path in sys.argv[1:3])
sys.path.insert(0, os.path.join(SOURCE, "bindings", "python"))

SCRATCH = tempfile.TemporaryDirectory()
os.chdir(SCRATCH.name)
os.environ.update(TLLOGS="logs", TLCONFIG=SCRATCH.name)
with open("tllang.ini", "wb") as language:
    language.write("[Lang]\nNot Supported=Geht nicht für den Zustand\n".encode("latin-1"))

import tllogics  # pylint: disable=wrong-import-position
from tllogics import CashCountRecord, Money, Refused, Session, native

LIBRARY = os.path.join(BUILD, "libtllogics.so.1")
simulator = ctypes.CDLL(os.path.join(BUILD, "libOstrivane.so"))
FAST = b'{"speed": 20}'
# The library looks every 10 ms, which a busy computer makes more; it misses what is over sooner.
FOR_PAYMENTS = b'{"answerDelay": 1, "messageGap": 60, "payOutTime": 500}'
PORT = "Type:RS232;Name:COM1;"
SETTINGS = "PayOutOkCheck:1;ChangeOkCheck:1;RegretOkCheck:1;AskPayOutAmountLimit:0;"


def source(name):
    with open(os.path.join(SOURCE, name), encoding="utf-8") as file:
        return file.read()


def prototypes():
    """Name, types and names of the parameters of each function of the header."""
    for name, parameters in re.findall(r"^int16_t (\w+)\((.*?)\);", source("api/tllogics.h"), re.S | re.M):
        parts = [re.match(r"\s*(.*?)\s*(\w+)$", parameter, re.S).groups() for parameter in parameters.split(",")]
        yield name, [part[0] for part in parts], [part[1] for part in parts]


def logged(directory):
    """What the library wrote into its log of the calls."""
    text = ""
    for name in sorted(os.listdir(directory)):
        if name.startswith("tlapi"):
            with open(os.path.join(directory, name), encoding="utf-8", errors="replace") as file:
                text += file.read()
    return text


def attempt(call, statuses):
    """Notes the status, or gives the refusal."""
    try:
        return statuses.append(call().status)
    except Refused as refused:
        return str(refused)


class Till:
    """A session with the events that it hears."""

    def __init__(self, **arguments):
        self.heard = threading.Condition()
        self.status = None
        self.session = Session(**{"library": LIBRARY, "onStatus": self.onStatus, **arguments})

    def onStatus(self, *status):
        with self.heard:
            self.status = status
            self.heard.notify_all()

    def wait_for(self, *status):
        with self.heard:
            assert self.heard.wait_for(lambda: self.status == status, 20), (status, self.status)

    def log_in(self):
        self.session.registerEvents4TL().check()
        self.session.initTL(PORT, SETTINGS).check()
        self.session.loginTL(1, 1).check()
        self.wait_for(0, 0, 1)
        return self.session

    def pay_in(self):
        assert simulator.tlsim_insert(10000, 1) == 10000
        self.wait_for(10000, 0, 1)


class PythonTest(unittest.TestCase):
    def setUp(self):
        self.assertEqual(0, simulator.tlsim_configure(FAST))

    def till(self, **arguments):
        till = Till(**arguments)
        self.addCleanup(till.session.close)
        return till

    def test_it_agrees_with_the_header(self):
        kinds = {"char*": ctypes.c_char_p, "const char*": ctypes.c_char_p, "TLWindowHandle": ctypes.c_void_p,
                 "TLStatusEvent": native.STATUS_EVENT, "TLErrorEvent": native.ERROR_EVENT,
                 "TLCashLevelEvent": native.CASH_LEVEL_EVENT, "TLInformationEvent": native.INFORMATION_EVENT,
                 "TLLevelWarningEvent": native.LEVEL_WARNING_EVENT,
                 "TLCashSessionEvent": native.CASH_SESSION_EVENT,
                 "CashCountRecord**": ctypes.POINTER(ctypes.POINTER(native.Record))}
        for name in ("int16_t", "int32_t", "uint16_t", "uint32_t"):
            kinds[name] = getattr(ctypes, "c_" + name[:-2])
            kinds[name + "*"] = ctypes.POINTER(kinds[name])
        header = source("api/tllogics.h")
        for name, types, names in prototypes():
            self.assertEqual([kinds[kind] for kind in types], list(native.FUNCTIONS[name]), name)
            taken = list(inspect.signature(getattr(Session, name)).parameters)[1:]
            given = [word for kind, word in zip(types, names)
                     if word in taken or not (kind.endswith("*") and kind != "const char*" or "Event" in kind)]
            self.assertEqual([word for word in given if word not in ("nCoins", "nNotes")], taken, name)
        for name, parameters in re.findall(r"typedef void \(\*(\w+)\)\((.*?)\);", header, re.S):
            types = [re.match(r"\s*(.*?)\s*\w+$", parameter, re.S).group(1) for parameter in parameters.split(",")]
            self.assertEqual([kinds[kind] for kind in types], list(kinds[name]._argtypes_), name)
        exported = [line for line in source("api/exports.list").split() if line.endswith("TL")]
        self.assertEqual(39, len(exported))
        self.assertEqual(sorted(exported), sorted(native.FUNCTIONS))
        self.assertEqual(re.findall(r"int32_t (n\w+);", header), [field[0] for field in native.Record._fields_])
        self.assertEqual(16, ctypes.sizeof(native.Record))
        self.assertEqual(CashCountRecord._fields, tuple(field[0] for field in native.Record._fields_))
        for name, value in re.findall(r"^#define (TL_\w+) (\S+)", header, re.M):
            self.assertEqual(value[1:-1] if value[0] == '"' else int(value, 0), getattr(tllogics, name), name)
        self.assertIn(f'#define TLLOGICS_VERSION "{tllogics.__version__}"', header)

    def test_the_money_is_that_of_the_table(self):
        table = {}
        for line in source("docs/statuses.tsv").splitlines()[1:]:
            call, status, _, money = line.split("\t")[:4]
            table.setdefault(call, {})[int(status)] = money
        for call, statuses in table.items():
            pays = set(statuses.values()) != {"no"}
            for status in range(-1, 40):
                self.assertEqual(statuses.get(status, "unknown" if pays else "no"),
                                 tllogics.moneyOf(call, status, "text").value, (call, status))
            self.assertEqual("unknown" if pays else "no", tllogics.moneyOf(call, 2, "").value, call)

    def test_each_function_gets_what_it_is_given(self):
        s = self.till().session
        before = len(logged("logs").splitlines())
        results = [
            s.registerEventsTL(), s.registerEvents2TL(), s.registerEvents3TL(), s.registerEvents4TL(),
            s.registerEvents23TL(), s.registerHwndTL(1), s.initTL("port", "init"), s.exitTL(), s.loginTL(1, -2),
            s.loginStrTL("number", "text"), s.logoutTL(), s.isOpenTL(), s.infoTL(), s.enablePayinTL(),
            s.disablePayinTL(), s.depositTL("T1"), s.dispenseTL(-2**31, "T2"), s.askPayoutTL(3), s.askPayout2TL(4),
            s.informTotalAmountTL(5), s.payoutTL(6, 7, "T3"), s.payout2TL(8, 9, "T4"), s.amountDueTL(10, "T5"),
            s.changeTL(), s.regretTL(-11), s.resetTL(), s.adminModeTL(12), s.collectToCashFloatTL(13, "T6"),
            s.endReplenishTL("T7"), s.unlockTL(2**32 - 1), s.purgeTL(2**32 - 2, "T8"),
            s.dispenseSpecifiedTL(14, [(100, 2)], [], "T9"), s.cashCountTL(), s.completeCashCountTL(),
            s.getErrorInfoTL(), s.getCashLevelInfoTL(), s.getCashSessionInfoTL(), s.getLevelWarningInfoTL(),
            s.changeSettingsTL("set", 15)]
        calls = re.findall(" => (.*)", "\n".join(logged("logs").splitlines()[before:]))
        self.assertEqual(source("tests/bindings/calls.txt").splitlines(), calls)
        self.assertEqual(list(native.FUNCTIONS), [result.call for result in results])
        for result in results:
            self.assertEqual((result.call.startswith("get"), Money.NO), (result.text == "", result.money))

    def test_what_the_device_tells_is_handed_out(self):
        self.assertEqual(0, simulator.tlsim_configure(FOR_PAYMENTS))
        till = self.till()
        session = till.log_in()
        self.assertEqual(1, session.isOpenTL().open)
        info = session.infoTL()
        self.assertEqual((2, "ABCDEFGHIJKLMNPQRVX", "03.12", "Tellarion simulator"),
                         (info.level, info.commands, info.master, info.info))
        for count in (session.cashCountTL(), session.completeCashCountTL()):
            self.assertEqual(simulator.tlsim_drawer(None, 0), sum(
                record.nDenomination * (record.nTotal or record.nCount) for record in count.coins + count.notes))
        asked = session.askPayout2TL(50)
        self.assertEqual((tllogics.TL_STATUS_NOT_POSSIBLE, 50), (asked.status, asked.amountRest))
        till.pay_in()
        paid = session.amountDueTL(7700, "T1")
        self.assertEqual(("Done", Money.YES), (paid.text, paid.money))
        session.disablePayinTL().check()
        till.wait_for(0, 3, 1)
        simulator.tlsim_stick(100, 100000)
        left = session.dispenseSpecifiedTL(0, [CashCountRecord(100, 1), CashCountRecord(500, 1)], [], "T2")
        self.assertEqual((13, Money.YES, [CashCountRecord(100, 1)], [], 100),
                         (left.status, left.money, left.coins, left.notes, left.amountRest))
        self.assertEqual(1, simulator.tlsim_balances())

    def test_it_is_closed_once_and_tells_how(self):
        with self.till().session as session:
            with self.assertRaisesRegex(Refused, "there is one in this process already"):
                Session()
            session.registerEvents4TL().check()
            session.initTL(PORT, "").check()
            session.loginTL(1, 1).check()
        self.assertEqual(("Done", "Done"), (session.closing.logout.text, session.closing.exit.text))
        self.assertEqual(tllogics.Closing(), session.close())
        with self.assertRaisesRegex(Refused, "loginTL: the Session is closed"):
            session.loginTL(1, 1)
        with self.assertRaisesRegex(Refused, "is loaded already"):
            Session(library="/somewhere/else.so")
        # A device that is busy with something else is not logged out, and says so.
        till = self.till()
        till.log_in().changeSettingsTL("StatusOkTimeout:1;", 0).check()
        self.assertEqual(200, simulator.tlsim_control(b"fault", b'{"name": "busy"}', None, 0))
        till.wait_for(0, 1, 1)
        closing = till.session.close()
        self.assertEqual((1, 0), (closing.logout.status, closing.exit.status))
        with self.assertRaises(tllogics.StatusError) as raised:
            closing.logout.check()
        self.assertIs(closing.logout, raised.exception.result)

    def test_an_interrupted_call_is_closed_like_any_other(self):
        for name, closed in (("initTL", (5, 0)), ("loginTL", (0, 0)), ("exitTL", (None, None))):
            till = self.till()
            functions = till.session._library.functions

            def interrupted(*values, function=functions[name]):
                function(*values)
                raise KeyboardInterrupt  # which comes when the call is over

            with unittest.mock.patch.dict(functions, {name: interrupted}), self.assertRaises(KeyboardInterrupt):
                till.log_in().exitTL()
            if not os.fork():  # a child leaves the device alone
                os._exit(till.session.close() != tllogics.Closing())
            self.assertEqual(0, os.wait()[1])
            closing = till.session.close()
            self.assertEqual(closed, tuple(result and result.status for result in (closing.logout, closing.exit)))

    def test_the_interpreter_may_end_without_closing(self):
        script = ("import sys, tllogics\n"
                  f"session = tllogics.Session(library={LIBRARY!r}, onStatus=print)\n"
                  "session.registerEvents4TL(), session.initTL(sys.argv[1], ''), session.loginTL(1, 1).check()")
        done = subprocess.run([sys.executable, "-c", script, PORT], capture_output=True, text=True, check=False,
                              env={**os.environ, "TLLOGS": "other", "PYTHONPATH": sys.path[0]}, timeout=60)
        self.assertEqual((0, ""), (done.returncode, done.stderr))
        self.assertRegex(logged("other"), "(?s)logoutTL: Ok!.*exitTL: Ok!")

    def test_nothing_is_called_inside_an_event_but_the_exit(self):
        refusals, ended, threads = [], [], []

        def onStatus(amount, *status):
            threads.append(threading.get_ident())
            till.onStatus(amount, *status)
            refusals.append(attempt(till.session.isOpenTL, []))
            if amount == 10000 and not ended:
                ended.append(till.session.close())

        till = self.till(onStatus=onStatus)
        # A login that fails raises its event on the thread that calls.
        simulator.tlsim_configure(FAST[:-1] + b', "loginOpens": false}')
        till.session.registerEvents4TL().check()
        till.session.initTL(PORT, SETTINGS).check()
        self.assertEqual(13, till.session.loginTL(1, 1).status)
        self.assertIn(threading.get_ident(), threads)
        self.assertEqual(0, till.session.isOpenTL().open)
        till.session.exitTL().check()
        simulator.tlsim_configure(FAST)
        till.log_in()
        # What two threads call at once is refused to one of them. A count waits for a busy device.
        self.assertEqual(200, simulator.tlsim_control(b"fault", b'{"name": "busy"}', None, 0))
        till.wait_for(0, 1, 1)
        counted, refused = [], []

        def count():
            while not counted:
                attempt(till.session.cashCountTL, counted)

        counting = threading.Thread(target=count)
        counting.start()
        while not refused and not counted:
            refused += filter(None, [attempt(till.session.isOpenTL, [])])
        self.assertEqual(200, simulator.tlsim_control(b"repair", None, None, 0))
        counting.join()
        self.assertEqual((["isOpenTL: another thread is inside a call"], [0]), (refused, counted))
        simulator.tlsim_insert(10000, 1)
        end = time.monotonic() + 20
        while not ended and time.monotonic() < end:
            time.sleep(0.01)
        self.assertEqual([(None, 0)], [(closing.logout, closing.exit.status) for closing in ended])
        self.assertEqual({"isOpenTL: not from inside an event"}, set(refusals))

    def test_callbacks_outlive_collections(self):
        self.assertEqual(0, simulator.tlsim_configure(FOR_PAYMENTS))
        till = self.till(onCashLevel=lambda *words: None)
        till.log_in()
        gc.collect()
        [bytearray(1000) for _ in range(100000)]  # what was collected is written over
        till.pay_in()

    def test_what_a_handler_raises_is_told(self):
        def onStatus(*status):
            till.onStatus(*status)
            raise ValueError(f"raised at {status[0]}")

        told = []
        self.addCleanup(setattr, sys, "unraisablehook", sys.unraisablehook)
        sys.unraisablehook = lambda unraisable: told.append(str(unraisable.exc_value))
        till = self.till(onStatus=onStatus)
        till.log_in()
        till.session.close()
        self.assertIn("raised at 0", told)
        told.clear()
        byHandler = []
        till = self.till(onStatus=onStatus, onException=lambda *words: byHandler.append(words))
        till.log_in()
        till.pay_in()
        till.session.close()
        self.assertEqual([], told)
        self.assertIn(("onStatus", "raised at 10000"), [(event, str(raised)) for event, raised in byHandler])

    def test_texts_are_in_the_code_page_of_the_language_file(self):
        for encoding, text in (("utf-8", "Geht nicht f\\xfcr den Zustand"), ("latin-1", "Geht nicht für den Zustand")):
            session = self.till(encoding=encoding).log_in()
            self.assertEqual(text, session.dispenseTL(100, "kvitto 5 €").text)
            session.close()
        self.assertIn("kvitto 5 €", logged("logs"))
        self.assertIn(r"kvitto 5 \u20ac", logged("logs"))
        with self.assertRaises(LookupError):
            Session(encoding="none such")

    def test_nothing_is_cut(self):
        session = self.till().session
        for call in (lambda: session.dispenseTL(2**32 + 100, ""), lambda: session.regretTL(65536),
                     lambda: session.unlockTL(-1),
                     lambda: session.dispenseSpecifiedTL(0, [CashCountRecord(100, 2**32 + 1)], [], "")):
            self.assertRaises(OverflowError, call)
        self.assertRaises(TypeError, lambda: session.dispenseTL(1.5, ""))
        self.assertRaises(ValueError, lambda: session.dispenseTL(100, "receipt\0 5"))

    def test_arrays_are_released(self):
        session = self.till().log_in()
        released = []
        library = session._library
        self.addCleanup(setattr, library, "free", library.free)
        library.free = lambda array, free=library.free: released.append(array[0].nDenomination) or free(array)
        count = session.cashCountTL()
        self.assertEqual([count.coins[0].nDenomination, count.notes[0].nDenomination], released)
        session.exitTL().check()
        given = [CashCountRecord(100, 3), CashCountRecord(200, 1)]
        result = session.dispenseSpecifiedTL(0, given, given[:1], "")  # hands out nothing
        self.assertEqual((Money.NO, given, given[:1]), (result.money, result.coins, result.notes))


if __name__ == "__main__":
    unittest.main(argv=sys.argv[:1])
