"""What the calls answer."""
from __future__ import annotations

import enum
from dataclasses import dataclass
from typing import Dict, FrozenSet, List, NamedTuple, Optional, Tuple, TypeVar, Union

from .statuses import TL_STATUS_ERROR, TL_STATUS_OK

__all__ = ["CashCountRecord", "Closing", "CountResult", "ErrorInfoResult", "ExtInfoResult", "InfoResult",
           "LevelWarningInfoResult", "Money", "OpenResult", "RestArraysResult", "RestResult", "Result",
           "StatusError", "moneyOf"]


class Money(enum.Enum):
    """Whether a call moved money."""
    NO = "no"
    YES = "yes"
    UNKNOWN = "unknown"


def _paying(moved: int, *didNot: int) -> Tuple[int, FrozenSet[int]]:
    return moved, frozenset((1, 2, 4, 5, 12) + didNot)


# The calls that pay: the status after which money moved, and those after which none did.
_PAYING: Dict[str, Tuple[int, FrozenSet[int]]] = {
    "depositTL": _paying(0),
    "dispenseTL": _paying(0, 8, 11),
    "payoutTL": _paying(0, 8, 10, 11),
    "payout2TL": _paying(0, 8, 10, 11),
    "amountDueTL": _paying(0, 8, 10, 11),
    "changeTL": _paying(0),
    "regretTL": _paying(0),
    "collectToCashFloatTL": _paying(13),
    "purgeTL": _paying(13),
    "dispenseSpecifiedTL": _paying(13),
}


def moneyOf(call: str, status: int, text: Union[str, bytes]) -> Money:
    """What a status of a call says of the money, as docs/statuses.md has it.

    What isn't known there of a call that pays is unknown, and so is an error without a text: the memory ran
    out, perhaps after the payment.
    """
    if call not in _PAYING:
        return Money.NO
    moved, didNot = _PAYING[call]
    if status == moved:
        return Money.YES
    ranOutOfMemory = status == TL_STATUS_ERROR and not text
    return Money.NO if status in didNot and not ranOutOfMemory else Money.UNKNOWN


class StatusError(Exception):
    """Raised by Result.check() alone."""

    def __init__(self, result: Result) -> None:
        super().__init__(f"{result.call}: {result.status}, {result.text} (money moved: {result.money.value})")
        self.result = result


_Self = TypeVar("_Self", bound="Result")


@dataclass(frozen=True)
class Result:
    """What every call answers."""
    call: str  # the function's name
    status: int
    text: str  # the message; empty for the four get...InfoTL
    money: Money

    def check(self: _Self) -> _Self:
        """This result again if its status is 0; StatusError, which has it, if not."""
        if self.status != TL_STATUS_OK:
            raise StatusError(self)
        return self


@dataclass(frozen=True)
class OpenResult(Result):
    open: int


@dataclass(frozen=True)
class InfoResult(Result):
    level: int
    commands: str
    master: str
    info: str


@dataclass(frozen=True)
class RestResult(Result):
    amountRest: int


class CashCountRecord(NamedTuple):
    """One denomination of a count, or of what is to be paid."""
    nDenomination: int
    nCount: int
    nRecycle: int = 0
    nTotal: int = 0


@dataclass(frozen=True)
class CountResult(Result):
    coins: List[CashCountRecord]
    notes: List[CashCountRecord]


@dataclass(frozen=True)
class RestArraysResult(CountResult):
    """The arrays as they stand after the call: what dispenseSpecifiedTL was given, if it handed out nothing."""
    amountRest: int


@dataclass(frozen=True)
class ErrorInfoResult(Result):
    errorText: str
    extInfo: str


@dataclass(frozen=True)
class ExtInfoResult(Result):
    extInfo: str


@dataclass(frozen=True)
class LevelWarningInfoResult(Result):
    warningType: int
    chTypeString: str
    chDenominationString: str
    chWarningMessage: str
    extInfo: str


@dataclass(frozen=True)
class Closing:
    """What the calls answered that closed a Session; None where no call was needed."""
    logout: Optional[Result] = None
    exit: Optional[Result] = None
