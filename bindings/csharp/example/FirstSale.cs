// A first sale: the customer pays 123.00 or more, the till gives change, and a count before and after says
// what really came of it. Called as: FirstSale [<port settings>]
using System;
using System.Threading;
using Tllogics;

internal static class FirstSale
{
    private const int Due = 12300, Patience = 1200; // tenths of a second, for the customer and for the device
    private const int Ready = 0, Error = 2, ReadyPayinDisabled = 3;

    // Events come on a thread of the device's library. They note what they hear and call nothing back.
    private static volatile int paidIn, deviceStatus;

    private static void OnStatus(int amountOrRest, ushort nStatus, ushort nMode)
    {
        Console.WriteLine("  status {0}, mode {1}, amount {2}", nStatus, nMode, amountOrRest);
        paidIn = amountOrRest;
        deviceStatus = nStatus;
    }

    private static void OnError(int errorCode, string errorText, string extInfo)
    {
        Console.WriteLine("  error {0}: {1} ({2})", errorCode, errorText, extInfo);
    }

    private static void OnWarning(ushort warningType, int denomination, ushort numberOf, string typeString,
                                  string denominationString, string warningMessage, string extInfo)
    {
        Console.WriteLine("  level: {0} ({1})", warningMessage, extInfo);
    }

    private static void OnInformation(string message)
    {
        Console.WriteLine("  the device says: {0}", message); // what it can't pay, too
    }

    private static void OnSession(ushort infoType, int amount, string extInfo)
    {
        Console.WriteLine("  session {0}, amount {1}: {2}", infoType, amount, extInfo);
    }

    // True if the call went well; says so if it didn't.
    private static bool Done(Result result)
    {
        if (!result.Ok)
            Console.WriteLine(result);
        return result.Ok;
    }

    private static bool DeviceIsReady()
    {
        return deviceStatus == Ready || deviceStatus == ReadyPayinDisabled;
    }

    private static bool CustomerHasPaid()
    {
        return deviceStatus == Ready && paidIn >= Due;
    }

    private static bool WaitUntil(Func<bool> isTrue)
    {
        for (int tenths = 0; tenths < Patience && deviceStatus != Error; ++tenths, Thread.Sleep(100))
            if (isTrue())
                return true;
        return false;
    }

    private static long ValueOf(CashCountRecord[] records)
    {
        long value = 0;
        foreach (CashCountRecord record in records)
            value += (long)record.nDenomination * (record.nTotal != 0 ? record.nTotal : record.nCount);
        return value;
    }

    // What the device holds, once it is at rest; negative if it can't tell.
    private static long CountDevice(Session session)
    {
        if (!WaitUntil(DeviceIsReady))
        {
            if (!Done(session.resetTL()))
                return -1;
            Thread.Sleep(100);
            if (!WaitUntil(DeviceIsReady))
                return -1;
        }
        CountResult count = session.cashCountTL();
        return Done(count) ? ValueOf(count.coins) + ValueOf(count.notes) : -1;
    }

    // True if the sale was made, and nobody is owed anything.
    private static bool Sell(Session session)
    {
        bool sold = false;
        long before = CountDevice(session);
        if (before < 0 || !Done(session.enablePayinTL()))
            return false;
        Console.WriteLine("Please pay {0}.", Due);
        if (WaitUntil(CustomerHasPaid))
        {
            // Once, whatever it answers: a second call could pay a second time.
            Result paid = session.amountDueTL(Due, "receipt 1");
            Done(paid);
            sold = paid.Money != Money.No;
        }
        if (!sold)
            Done(session.regretTL(1)); // refused, or not enough: the customer's money goes back

        long after = CountDevice(session);
        if (after < 0)
        {
            Console.WriteLine("Nobody knows what came out: open the device and count by hand.");
            return false;
        }
        long kept = after - before, price = sold ? Due : 0;
        Console.WriteLine("The device kept {0} of {1}.", kept, Due);
        if (kept != price)
            Console.WriteLine("Settle by hand: {0} to the customer.", kept - price);
        return sold && kept == Due;
    }

    private static int Main(string[] arguments)
    {
        string port = arguments.Length > 0 ? arguments[0] : "Type:RS232;Name:COM1;";
        bool sold = false;
        using (var session = new Session())
        {
            // Pay-in stays closed until the first count is done. A payment returns when the device is ready again,
            // and has a minute for it.
            if (!Done(session.registerEvents4TL(OnStatus, OnError, OnWarning, OnInformation, OnSession)) ||
                !Done(session.initTL(port, "AutoDisable:1;PayOutOkCheck:1;RegretOkCheck:1;StatusOkTimeout:60;")))
                return 1;
            if (Done(session.loginTL(1, 1)))
            {
                sold = Sell(session);
                WaitUntil(DeviceIsReady); // not while it still pays
                Done(session.logoutTL());
            }
            Done(session.exitTL());
        }
        return sold ? 0 : 1;
    }
}
