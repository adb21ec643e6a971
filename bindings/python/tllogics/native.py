"""The shared library: where it is found, and the C types of what is in it."""
from __future__ import annotations

import ctypes
import operator
import os
import sys
from ctypes import POINTER, c_char_p, c_int16, c_int32, c_uint16, c_uint32, c_void_p
from typing import Any, Dict, List, Optional, Sequence, Tuple

from .results import CashCountRecord

TEXT_SIZE = 1024  # what every text that is handed out needs

NAME = "tllogics.dll" if sys.platform == "win32" else "libtllogics.so.1"


class Record(ctypes.Structure):
    """CashCountRecord, as C has it."""
    _fields_ = [("nDenomination", c_int32), ("nCount", c_int32), ("nRecycle", c_int32), ("nTotal", c_int32)]


STATUS_EVENT = ctypes.CFUNCTYPE(None, c_int32, c_uint16, c_uint16)
ERROR_EVENT = ctypes.CFUNCTYPE(None, c_int32, c_char_p, c_char_p)
CASH_LEVEL_EVENT = ctypes.CFUNCTYPE(None, c_int32, c_uint16, c_char_p)
LEVEL_WARNING_EVENT = ctypes.CFUNCTYPE(None, c_uint16, c_int32, c_uint16, c_char_p, c_char_p, c_char_p, c_char_p)
INFORMATION_EVENT = ctypes.CFUNCTYPE(None, c_char_p)
CASH_SESSION_EVENT = ctypes.CFUNCTYPE(None, c_uint16, c_int32, c_char_p)

_ARRAYS = (POINTER(POINTER(Record)), POINTER(c_int32)) * 2

# The parameters of each function.
FUNCTIONS: Dict[str, Sequence[Any]] = {
    "registerEventsTL": (STATUS_EVENT, ERROR_EVENT, CASH_LEVEL_EVENT, c_char_p),
    "registerEvents2TL": (STATUS_EVENT, ERROR_EVENT, CASH_LEVEL_EVENT, CASH_SESSION_EVENT, c_char_p),
    "registerEvents3TL": (STATUS_EVENT, ERROR_EVENT, LEVEL_WARNING_EVENT, CASH_SESSION_EVENT, c_char_p),
    "registerEvents4TL": (STATUS_EVENT, ERROR_EVENT, LEVEL_WARNING_EVENT, INFORMATION_EVENT, CASH_SESSION_EVENT,
                          c_char_p),
    "registerEvents23TL": (STATUS_EVENT, ERROR_EVENT, CASH_LEVEL_EVENT, LEVEL_WARNING_EVENT, CASH_SESSION_EVENT,
                           c_char_p),
    "registerHwndTL": (c_void_p, c_char_p),
    "initTL": (c_char_p, c_char_p, c_char_p),
    "exitTL": (c_char_p,),
    "loginTL": (c_int16, c_int16, c_char_p),
    "loginStrTL": (c_char_p, c_char_p, c_char_p),
    "logoutTL": (c_char_p,),
    "isOpenTL": (POINTER(c_uint32), c_char_p),
    "infoTL": (POINTER(c_uint32), c_char_p, c_char_p, c_char_p, c_char_p),
    "enablePayinTL": (c_char_p,),
    "disablePayinTL": (c_char_p,),
    "depositTL": (c_char_p, c_char_p),
    "dispenseTL": (c_int32, c_char_p, POINTER(c_int32), c_char_p),
    "askPayoutTL": (c_int32, c_char_p),
    "askPayout2TL": (c_int32, POINTER(c_int32), c_char_p),
    "informTotalAmountTL": (c_int32, c_char_p),
    "payoutTL": (c_int32, c_int32, c_char_p, c_char_p),
    "payout2TL": (c_int32, c_int32, c_char_p, POINTER(c_int32), c_char_p),
    "amountDueTL": (c_int32, c_char_p, POINTER(c_int32), c_char_p),
    "changeTL": (c_char_p,),
    "regretTL": (c_int16, c_char_p),
    "resetTL": (c_char_p,),
    "adminModeTL": (c_int16, c_char_p),
    "collectToCashFloatTL": (c_int16, *_ARRAYS, POINTER(c_uint32), c_char_p, c_char_p),
    "endReplenishTL": (c_char_p, c_char_p),
    "unlockTL": (c_uint32, c_char_p),
    "purgeTL": (c_uint32, *_ARRAYS, POINTER(c_uint32), c_char_p, c_char_p),
    "dispenseSpecifiedTL": (c_int16, *_ARRAYS, POINTER(c_uint32), c_char_p, c_char_p),
    "cashCountTL": (*_ARRAYS, c_char_p),
    "completeCashCountTL": (*_ARRAYS, c_char_p),
    "getErrorInfoTL": (c_char_p, c_char_p),
    "getCashLevelInfoTL": (c_char_p,),
    "getCashSessionInfoTL": (c_char_p,),
    "getLevelWarningInfoTL": (POINTER(c_int32), c_char_p, c_char_p, c_char_p, c_char_p),
    "changeSettingsTL": (c_char_p, c_int16, c_char_p),
}


def open_library(path: str) -> ctypes.CDLL:
    """By its path, or by its name, which the system then searches as it does for programs of any language."""
    if sys.platform == "win32" and sys.version_info >= (3, 8):
        return ctypes.CDLL(path, winmode=0)
    return ctypes.CDLL(path)


class Library:
    """The functions of the loaded library, and how what it hands out is released."""

    def __init__(self, path: Optional[str]) -> None:
        beside = os.path.join(os.path.dirname(os.path.abspath(__file__)), NAME)
        self.path = path or (beside if os.path.exists(beside) else NAME)
        library = open_library(self.path)
        self.functions: Dict[str, Any] = {}
        for name, parameters in FUNCTIONS.items():
            function = getattr(library, name)
            function.argtypes = list(parameters)
            function.restype = c_int16
            self.functions[name] = function
        # The heap is that of the C run-time that the library uses.
        runtime = ctypes.CDLL("msvcrt.dll" if sys.platform == "win32" else None)
        self.free = runtime.free
        self.free.argtypes = [c_void_p]
        self.free.restype = None


class Array:
    """An array that the library puts in the place of another, or of none."""

    def __init__(self, library: Library, records: Sequence[CashCountRecord]) -> None:
        self._library = library
        self._records = [CashCountRecord(*record) for record in records]
        self._given = (Record * len(records))(*(Record(*fitting(record)) for record in self._records))
        self._pointer = POINTER(Record)()
        if records:
            self._pointer = ctypes.cast(self._given, POINTER(Record))
        self._before = self._address()
        self._count = c_int32(len(records))

    def _address(self) -> Optional[int]:
        return ctypes.cast(self._pointer, c_void_p).value

    def parameters(self) -> Tuple[Any, Any]:
        return ctypes.byref(self._pointer), ctypes.byref(self._count)

    def take(self) -> List[CashCountRecord]:
        """What stands there after the call; releases what the library put there."""
        if self._address() == self._before:
            return self._records
        try:
            return [CashCountRecord(record.nDenomination, record.nCount, record.nRecycle, record.nTotal)
                    for record in self._pointer[:max(self._count.value, 0)]]
        finally:
            self._library.free(self._pointer)


def fitting(record: CashCountRecord) -> List[int]:
    return [number(c_int32, value) for value in record]


def number(kind: Any, value: int) -> int:
    """The value, if the C type can hold it: ctypes would cut it, and pay another amount."""
    value = operator.index(value)
    if kind(value).value != value:
        raise OverflowError(f"{value} does not fit {kind.__name__}")
    return value
