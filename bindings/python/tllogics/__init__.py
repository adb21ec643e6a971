"""tllogics in Python: the library's 39 functions as methods of Session, with the names that tllogics.h has.

The calls tell by their results how they went, and what is known of the money; no status is an exception,
unless Result.check() is asked for one.
"""
from .results import (CashCountRecord, Closing, CountResult, ErrorInfoResult, ExtInfoResult, InfoResult,
                      LevelWarningInfoResult, Money, OpenResult, RestArraysResult, RestResult, Result,
                      StatusError, moneyOf)
from .session import Refused, Session
from .statuses import *  # pylint: disable=wildcard-import

__version__ = "1.0.0"
