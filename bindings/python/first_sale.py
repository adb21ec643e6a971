"""A first sale: the customer pays 123.00 or more, the till gives change, and a count before and after says
what really came of it. Called as: first_sale.py [<port settings>]
"""
import sys
import time

import tllogics
from tllogics import TL_STATUS_OK, Money

DUE = 12300
PATIENCE = 1200  # tenths of a second, for the customer and for the device
READY, ERROR, READY_PAYIN_DISABLED = 0, 2, 3


def say(text):
    print(text + "\n", end="", flush=True)  # in one piece: two threads write


class Device:
    """What the events tell. They come on a thread of the device's library, and call nothing back."""

    def __init__(self):
        self.paidIn = 0
        self.status = READY

    def onStatus(self, amount, status, mode):
        say(f"  status {status}, mode {mode}, amount {amount}")
        self.paidIn = amount
        self.status = status

    def onError(self, code, text, info):
        say(f"  error {code}: {text} ({info})")

    def onLevelWarning(self, kind, denomination, left, word, name, text, info):
        say(f"  level: {text} ({info})")

    def onInformation(self, text):
        say(f"  the device says: {text}")  # what it can't pay, too

    def onCashSession(self, kind, amount, info):
        say(f"  session {kind}, amount {amount}: {info}")

    def isReady(self):
        return self.status in (READY, READY_PAYIN_DISABLED)

    def hasBeenPaid(self):
        return self.status == READY and self.paidIn >= DUE

    def waitUntil(self, isTrue):
        for _ in range(PATIENCE):
            if self.status == ERROR:
                return False
            if isTrue():
                return True
            time.sleep(0.1)
        return False


def done(result):
    """True if the call went well; says so if it didn't."""
    if result.status != TL_STATUS_OK:
        say(f"{result.call}: {result.status}, {result.text}")
    return result.status == TL_STATUS_OK


def countDevice(till, device):
    """What the device holds, once it is at rest; None if it can't tell."""
    if not device.waitUntil(device.isReady):
        if not done(till.resetTL()):
            return None
        time.sleep(0.1)
        if not device.waitUntil(device.isReady):
            return None
    count = till.cashCountTL()
    if not done(count):
        return None
    return sum(record.nDenomination * (record.nTotal or record.nCount) for record in count.coins + count.notes)


def sell(till, device):
    """True if the sale was made, and nobody is owed anything."""
    before = countDevice(till, device)
    if before is None or not done(till.enablePayinTL()):
        return False
    say(f"Please pay {DUE}.")
    sold = False
    if device.waitUntil(device.hasBeenPaid):
        # Once, whatever it answers: a second call could pay a second time.
        payment = till.amountDueTL(DUE, "receipt 1")
        sold = done(payment) or payment.money != Money.NO
    if not sold:
        done(till.regretTL(1))  # refused, or not enough: the customer's money goes back

    after = countDevice(till, device)
    if after is None:
        say("Nobody knows what came out: open the device and count by hand.")
        return False
    kept = after - before
    owed = kept - (DUE if sold else 0)
    say(f"The device kept {kept} of {DUE}.")
    if owed != 0:
        say(f"Settle by hand: {owed} to the customer.")
    return sold and owed == 0


def main():
    port = sys.argv[1] if len(sys.argv) > 1 else "Type:RS232;Name:COM1;"
    device = Device()
    sold = False
    # The end of the "with" logs out and exits, if that is still to be done.
    with tllogics.Session(onStatus=device.onStatus, onError=device.onError, onLevelWarning=device.onLevelWarning,
                          onInformation=device.onInformation, onCashSession=device.onCashSession) as till:
        # Pay-in stays closed until the first count is done. A payment returns when the device is ready
        # again, and has a minute for it.
        if not done(till.registerEvents4TL()) or not done(
                till.initTL(port, "AutoDisable:1;PayOutOkCheck:1;RegretOkCheck:1;StatusOkTimeout:60;")):
            return 1
        if done(till.loginTL(1, 1)):
            sold = sell(till, device)
            device.waitUntil(device.isReady)  # not while it still pays
            done(till.logoutTL())
        done(till.exitTL())
    return 0 if sold else 1


if __name__ == "__main__":
    sys.exit(main())
