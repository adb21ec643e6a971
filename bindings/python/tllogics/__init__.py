"""tllogics in Python: the library's 39 functions as methods of Session, with the names that tllogics.h has.

The calls tell by their results how they went, and what is known of the money; no status is an exception,
unless Result.check() is asked for one.
"""
from .results import *
from .session import *
from .statuses import *

__version__ = "1.0.0"
