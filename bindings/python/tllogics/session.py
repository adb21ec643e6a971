"""Session: the library, for one owner at a time."""
from __future__ import annotations

import atexit
import ctypes
import os
import threading
from types import TracebackType
from typing import Any, Callable, Dict, Optional, Sequence, Tuple, Type, Union

from . import native
from .results import (CashCountRecord, Closing, CountResult, ErrorInfoResult, ExtInfoResult, InfoResult,
                      LevelWarningInfoResult, Money, OpenResult, RestArraysResult, RestResult, Result, moneyOf)
from .statuses import TL_STATUS_FAILED_TO_COMPLY, TL_STATUS_OK, TL_STATUS_SEND_FAILED, TL_STATUS_TIMEOUT

__all__ = ["Refused", "Session"]

Text = Union[str, bytes]


class Refused(RuntimeError):
    """A call that was not made, because it may not be."""


class _Process:
    """What the one Session of a process shares with the events."""
    lock = threading.Lock()  # for the two below
    loaded: Optional[native.Library] = None
    session: Optional[Session] = None
    calling = threading.Lock()
    inside = threading.local()


def _isInsideEvent() -> bool:
    return getattr(_Process.inside, "depth", 0) > 0


def _raise(event: str, *values: Any) -> None:
    """Hands an event on. What is thrown here ends in ctypes, which gives it to sys.unraisablehook."""
    session = _Process.session
    if session is None:
        return
    handler = session._handlers.get(event)
    if handler is None:
        return
    _Process.inside.depth = getattr(_Process.inside, "depth", 0) + 1
    try:
        handler(*(session._decoded(value) if isinstance(value, bytes) else value for value in values))
    except Exception as exception:  # pylint: disable=broad-except
        if session._onException is None:
            raise
        session._onException(event, exception)
    finally:
        _Process.inside.depth -= 1


# What the library calls. Made once and kept, so that none of it is collected while the library may call it.
_statusEvent = native.STATUS_EVENT(lambda *values: _raise("onStatus", *values))
_errorEvent = native.ERROR_EVENT(lambda *values: _raise("onError", *values))
_cashLevelEvent = native.CASH_LEVEL_EVENT(lambda *values: _raise("onCashLevel", *values))
_levelWarningEvent = native.LEVEL_WARNING_EVENT(lambda *values: _raise("onLevelWarning", *values))
_informationEvent = native.INFORMATION_EVENT(lambda *values: _raise("onInformation", *values))
_cashSessionEvent = native.CASH_SESSION_EVENT(lambda *values: _raise("onCashSession", *values))


class Session:
    """Register, initTL, loginTL, the day's work; close(), or the end of a "with", logs out and exits.

    The methods are the functions of tllogics.h, which tells what they do; what they hand out is in the
    result. One thread at a time may call, and none from inside an event, exitTL and close excepted; other
    calls raise Refused before the library sees them, and so does a second Session.
    """

    def __init__(
        self,
        *,
        onStatus: Optional[Callable[[int, int, int], object]] = None,
        onError: Optional[Callable[[int, str, str], object]] = None,
        onCashLevel: Optional[Callable[[int, int, str], object]] = None,
        onLevelWarning: Optional[Callable[[int, int, int, str, str, str, str], object]] = None,
        onInformation: Optional[Callable[[str], object]] = None,
        onCashSession: Optional[Callable[[int, int, str], object]] = None,
        onException: Optional[Callable[[str, Exception], object]] = None,
        library: Optional[str] = None,
        encoding: str = "utf-8",
    ) -> None:
        """
        The handlers hear of the events, on the thread of the device's library, and get what the header's
        callbacks get; one that is left out is not wanted. onException gets the event's name and what its
        handler raised; without it sys.unraisablehook does. library: the path of the shared library; without
        it, that beside this package, else that which the system finds. encoding: the code page of the
        language file; bytes that it doesn't know read as "\\xNN".
        """
        self._handlers: Dict[str, Optional[Callable[..., object]]] = {
            "onStatus": onStatus, "onError": onError, "onCashLevel": onCashLevel,
            "onLevelWarning": onLevelWarning, "onInformation": onInformation, "onCashSession": onCashSession}
        self._onException = onException
        self._encoding = encoding
        "".encode(encoding)  # an unknown one is told now
        self._isInitiated = False
        self._mayBeOpen = False
        self._process = os.getpid()
        #: What close() answered last, for those who left it to "with".
        self.closing = Closing()
        if library is not None and os.path.dirname(library):
            library = os.path.abspath(library)
        with _Process.lock:
            if _Process.session is not None:
                raise Refused("Session: there is one in this process already")
            if _Process.loaded is None:
                _Process.loaded = native.Library(library)
            elif library is not None and library != _Process.loaded.path:
                raise Refused(f"Session: {_Process.loaded.path} is loaded already")
            self._library = _Process.loaded
            _Process.session = self

    def __enter__(self) -> Session:
        return self

    def __exit__(self, exceptionType: Optional[Type[BaseException]], exception: Optional[BaseException],
                 traceback: Optional[TracebackType]) -> None:
        self.close()

    def close(self) -> Closing:
        """logoutTL if a login may have opened the device, exitTL if initTL went well.

        Inside an event, where nothing else may be called, exitTL alone. After it every call is refused, and
        another Session may be made; unless exitTL failed, then it may be called again. In a forked child it
        does nothing: the device is the parent's.
        """
        logout = exited = None
        if self._process != os.getpid():
            return Closing()
        if self._isInitiated and self._mayBeOpen and not _isInsideEvent():
            logout = self.logoutTL()
        if self._isInitiated:
            exited = self.exitTL()
        if not self._isInitiated and _Process.session is self:
            _Process.session = None
        if logout is not None or exited is not None:
            self.closing = Closing(logout, exited)
        return Closing(logout, exited)

    # ---- Registration, before initTL: which of the handlers get their events ----

    def registerEventsTL(self) -> Result:
        return Result(*self._call("registerEventsTL", _statusEvent, _errorEvent, _cashLevelEvent))

    def registerEvents2TL(self) -> Result:
        return Result(*self._call("registerEvents2TL", _statusEvent, _errorEvent, _cashLevelEvent,
                                  _cashSessionEvent))

    def registerEvents3TL(self) -> Result:
        return Result(*self._call("registerEvents3TL", _statusEvent, _errorEvent, _levelWarningEvent,
                                  _cashSessionEvent))

    def registerEvents4TL(self) -> Result:
        return Result(*self._call("registerEvents4TL", _statusEvent, _errorEvent, _levelWarningEvent,
                                  _informationEvent, _cashSessionEvent))

    def registerEvents23TL(self) -> Result:
        return Result(*self._call("registerEvents23TL", _statusEvent, _errorEvent, _cashLevelEvent,
                                  _levelWarningEvent, _cashSessionEvent))

    def registerHwndTL(self, hwndMessageTo: int) -> Result:
        return Result(*self._call("registerHwndTL", hwndMessageTo))

    # ---- Lifecycle ----

    def initTL(self, portSettings: Text, initSettings: Text) -> Result:
        result = Result(*self._call("initTL", portSettings, initSettings))
        if result.status == TL_STATUS_OK:
            self._isInitiated = True
        return result

    def exitTL(self) -> Result:
        """Allowed inside an event, too."""
        result = Result(*self._call("exitTL"))
        if result.status == TL_STATUS_OK:
            self._isInitiated = self._mayBeOpen = False
        return result

    # ---- Session ----

    def loginTL(self, loginNumber: int, loginDigits: int) -> Result:
        return self._loggedIn(Result(*self._call("loginTL", loginNumber, loginDigits)))

    def loginStrTL(self, loginNumberText: Text, loginText: Text) -> Result:
        return self._loggedIn(Result(*self._call("loginStrTL", loginNumberText, loginText)))

    def logoutTL(self) -> Result:
        result = Result(*self._call("logoutTL"))
        if result.status == TL_STATUS_OK:
            self._mayBeOpen = False
        return result

    def isOpenTL(self) -> OpenResult:
        isOpen = ctypes.c_uint32()
        return OpenResult(*self._call("isOpenTL", ctypes.byref(isOpen)), isOpen.value)

    def infoTL(self) -> InfoResult:
        level = ctypes.c_uint32()
        commands, master, info = _texts(3)
        return InfoResult(*self._call("infoTL", ctypes.byref(level), commands, master, info), level.value,
                          self._decoded(commands.value), self._decoded(master.value), self._decoded(info.value))

    # ---- Payment ----

    def enablePayinTL(self) -> Result:
        return Result(*self._call("enablePayinTL"))

    def disablePayinTL(self) -> Result:
        return Result(*self._call("disablePayinTL"))

    def depositTL(self, transactionId: Text) -> Result:
        return Result(*self._call("depositTL", transactionId))

    def dispenseTL(self, amountDispense: int, transactionId: Text) -> RestResult:
        rest = ctypes.c_int32()
        return RestResult(*self._call("dispenseTL", amountDispense, transactionId, ctypes.byref(rest)), rest.value)

    def askPayoutTL(self, amount: int) -> Result:
        return Result(*self._call("askPayoutTL", amount))

    def askPayout2TL(self, amount: int) -> RestResult:
        rest = ctypes.c_int32()
        return RestResult(*self._call("askPayout2TL", amount, ctypes.byref(rest)), rest.value)

    def informTotalAmountTL(self, amountTotal: int) -> Result:
        return Result(*self._call("informTotalAmountTL", amountTotal))

    def payoutTL(self, amountDispense: int, amountDeposit: int, transactionId: Text) -> Result:
        return Result(*self._call("payoutTL", amountDispense, amountDeposit, transactionId))

    def payout2TL(self, amountDispense: int, amountDeposit: int, transactionId: Text) -> RestResult:
        rest = ctypes.c_int32()
        return RestResult(*self._call("payout2TL", amountDispense, amountDeposit, transactionId,
                                      ctypes.byref(rest)), rest.value)

    def amountDueTL(self, amountDue: int, transactionId: Text) -> RestResult:
        rest = ctypes.c_int32()
        return RestResult(*self._call("amountDueTL", amountDue, transactionId, ctypes.byref(rest)), rest.value)

    def changeTL(self) -> Result:
        return Result(*self._call("changeTL"))

    def regretTL(self, regretType: int) -> Result:
        return Result(*self._call("regretTL", regretType))

    def resetTL(self) -> Result:
        return Result(*self._call("resetTL"))

    # ---- Administration ----

    def adminModeTL(self, adminModeType: int) -> Result:
        return Result(*self._call("adminModeTL", adminModeType))

    def collectToCashFloatTL(self, type: int, transactionId: Text) -> RestArraysResult:
        return self._withRest("collectToCashFloatTL", type, (), (), transactionId)

    def endReplenishTL(self, transactionId: Text) -> Result:
        return Result(*self._call("endReplenishTL", transactionId))

    def unlockTL(self, number: int) -> Result:
        return Result(*self._call("unlockTL", number))

    def purgeTL(self, number: int, transactionId: Text) -> RestArraysResult:
        return self._withRest("purgeTL", number, (), (), transactionId)

    def dispenseSpecifiedTL(self, type: int, coins: Sequence[CashCountRecord], notes: Sequence[CashCountRecord],
                            transactionId: Text) -> RestArraysResult:
        return self._withRest("dispenseSpecifiedTL", type, coins, notes, transactionId)

    # ---- Cash count ----

    def cashCountTL(self) -> CountResult:
        return self._count("cashCountTL")

    def completeCashCountTL(self) -> CountResult:
        return self._count("completeCashCountTL")

    # ---- Texts of events that came as window messages ----

    def getErrorInfoTL(self) -> ErrorInfoResult:
        errorText, extInfo = _texts(2)
        return ErrorInfoResult(*self._call("getErrorInfoTL", errorText, extInfo, hasMessage=False),
                               self._decoded(errorText.value), self._decoded(extInfo.value))

    def getCashLevelInfoTL(self) -> ExtInfoResult:
        extInfo, = _texts(1)
        return ExtInfoResult(*self._call("getCashLevelInfoTL", extInfo, hasMessage=False),
                             self._decoded(extInfo.value))

    def getCashSessionInfoTL(self) -> ExtInfoResult:
        extInfo, = _texts(1)
        return ExtInfoResult(*self._call("getCashSessionInfoTL", extInfo, hasMessage=False),
                             self._decoded(extInfo.value))

    def getLevelWarningInfoTL(self) -> LevelWarningInfoResult:
        warningType = ctypes.c_int32(1)  # the library refuses 0
        texts = _texts(4)
        outcome = self._call("getLevelWarningInfoTL", ctypes.byref(warningType), *texts, hasMessage=False)
        return LevelWarningInfoResult(*outcome, warningType.value, *(self._decoded(text.value) for text in texts))

    # ---- Settings ----

    def changeSettingsTL(self, initSettings: Text, durationType: int) -> Result:
        return Result(*self._call("changeSettingsTL", initSettings, durationType))

    # ---- What they share ----

    def _decoded(self, text: bytes) -> str:
        return text.decode(self._encoding, "backslashreplace")

    def _prepared(self, kind: Any, argument: Any) -> Any:
        if kind is ctypes.c_char_p and isinstance(argument, (str, bytes)):
            if isinstance(argument, str):
                argument = argument.encode(self._encoding, "backslashreplace")
            if b"\0" in argument:
                raise ValueError("a text with a NUL in it can't be sent")
            return argument
        if kind in (ctypes.c_int16, ctypes.c_int32, ctypes.c_uint32):
            return native.number(kind, argument)
        return argument

    def _call(self, name: str, *arguments: Any, hasMessage: bool = True) -> Tuple[str, int, str, Money]:
        """Makes a call, if it may be made. The beginning of its result."""
        message, = _texts(1)
        kinds = native.FUNCTIONS[name]
        values = [self._prepared(kind, argument) for kind, argument in zip(kinds, arguments)]
        if hasMessage:
            values.append(message)
        overtakes = name == "exitTL" and _isInsideEvent()
        if _Process.session is not self:
            raise Refused(f"{name}: the Session is closed")
        if _isInsideEvent() and not overtakes:
            raise Refused(f"{name}: not from inside an event")
        if not overtakes and not _Process.calling.acquire(blocking=False):
            raise Refused(f"{name}: another thread is inside a call")
        try:
            status: int = self._library.functions[name](*values)
        except BaseException:
            # Ctrl-C took the answer away, not what was done: closing undoes all that there may be.
            isOpen = self._library.functions["isOpenTL"]
            self._isInitiated = isOpen(ctypes.byref(ctypes.c_uint32()), message) == TL_STATUS_OK
            self._mayBeOpen = self._isInitiated
            raise
        finally:
            if not overtakes:
                _Process.calling.release()
        return name, status, self._decoded(message.value), moneyOf(name, status, message.value)

    def _loggedIn(self, result: Result) -> Result:
        """A device that answered late, or whose answer was lost, may be open all the same."""
        if result.status in (TL_STATUS_OK, TL_STATUS_TIMEOUT, TL_STATUS_SEND_FAILED, TL_STATUS_FAILED_TO_COMPLY):
            self._mayBeOpen = True
        return result

    def _withRest(self, name: str, kind: int, coins: Sequence[CashCountRecord], notes: Sequence[CashCountRecord],
                  transactionId: Text) -> RestArraysResult:
        rest = ctypes.c_uint32()
        coinArray, noteArray = native.Array(self._library, coins), native.Array(self._library, notes)
        outcome = self._call(name, kind, *coinArray.parameters(), *noteArray.parameters(), ctypes.byref(rest),
                             transactionId)
        return RestArraysResult(*outcome, coinArray.take(), noteArray.take(), rest.value)

    def _count(self, name: str) -> CountResult:
        coins, notes = native.Array(self._library, ()), native.Array(self._library, ())
        outcome = self._call(name, *coins.parameters(), *notes.parameters())
        return CountResult(*outcome, coins.take(), notes.take())


def _texts(count: int) -> Any:
    return [ctypes.create_string_buffer(native.TEXT_SIZE) for _ in range(count)]


@atexit.register
def _closeAtExit() -> None:
    """An event that comes while the interpreter ends would hang or crash it."""
    session = _Process.session
    if session is None:
        return
    try:
        session.close()
    except Refused:  # a thread that nobody waits for is inside a call
        session._library.functions["exitTL"](_texts(1)[0])
