using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;
using Tllogics;

/// <summary>The customer's hand at the simulated device.</summary>
internal static class Hand
{
    [DllImport("libOstrivane.so")]
    internal static extern int tlsim_configure(byte[] json);
    [DllImport("libOstrivane.so")]
    internal static extern int tlsim_insert(int denomination, int count);
    [DllImport("libOstrivane.so")]
    internal static extern int tlsim_stick(int denomination, int count);
    [DllImport("libOstrivane.so")]
    internal static extern int tlsim_balances();
    [DllImport("libOstrivane.so")]
    internal static extern int tlsim_inject(byte[] message);
    [DllImport("libOstrivane.so")]
    internal static extern int tlsim_control(string verb, string json, byte[] text, int size);
    [DllImport("libc.so.6")]
    internal static extern int gettid();

    /// <summary>A device of a hundred coins of 100 and ten notes of 2000, quick unless told otherwise. A call looks
    /// at what it says every 10 ms, and a busy computer makes that more.</summary>
    internal static void Configure(string more = @"""payOutTime"": 100", int messageGap = 60)
    {
        string json = @"{""drawer"": [{""value"": 100, ""count"": 100},
                                      {""value"": 2000, ""kind"": ""note"", ""count"": 10}],
                         ""messageGap"": " + messageGap + ", " + more + "}";
        Check.Equal(0, tlsim_configure(Encoding.UTF8.GetBytes(json + "\0")), json);
    }

    internal static void AnswerAfter(int milliseconds)
    {
        Check.Equal(200, tlsim_control("set", @"{""answerDelay"": " + milliseconds + "}", null, 0), "answerDelay");
    }

    /// <summary>The device tells an information text of nine characters.</summary>
    internal static void Tell(string text, int status = 0)
    {
        Check.Equal(9, text.Length, text);
        tlsim_inject(Encoding.UTF8.GetBytes("b00000000" + status + "13000709" + text + "\0"));
    }
}

internal static class Check
{
    internal static void True(bool isTrue, string what)
    {
        if (!isTrue)
            throw new Exception(what);
    }

    internal static void Equal<T>(T expected, T actual, string what)
    {
        if (!EqualityComparer<T>.Default.Equals(expected, actual))
            throw new Exception(what + ": expected " + expected + ", was " + actual);
    }

    /// <summary>What it must throw, which names "word".</summary>
    internal static T Throws<T>(Action action, string word) where T : Exception
    {
        try
        {
            action();
        }
        catch (Exception exception)
        {
            while (exception is AggregateException || exception is System.Reflection.TargetInvocationException)
                exception = exception.InnerException;
            if (!(exception is T) || !exception.Message.Contains(word))
                throw new Exception("not " + typeof(T) + " with " + word + ", but " + exception);
            return (T)exception;
        }
        throw new Exception("did not throw: " + typeof(T) + ", " + word);
    }

    internal static void Within(int seconds, Func<bool> isTrue, string what)
    {
        for (DateTime end = DateTime.UtcNow.AddSeconds(seconds); !isTrue(); Thread.Sleep(5))
            True(DateTime.UtcNow < end, what);
    }
}

/// <summary>A session that is logged in, and what it hears.</summary>
internal sealed class Till : IDisposable
{
    internal readonly Session Session;
    internal readonly List<string> Heard = new List<string>();
    internal volatile int Status = -1, PaidIn;
    internal Action<string> Hears = heard => { };

    internal Till(SynchronizationContext context = null, string initSettings = "AutoDisable:1;PayOutOkCheck:1;")
    {
        Session = new Session(context);
        Done(Session.registerEvents4TL(
            (amountOrRest, nStatus, nMode) =>
            {
                PaidIn = amountOrRest;
                Status = nStatus;
                Hear("status " + nStatus);
            },
            (errorCode, errorText, extInfo) => Hear("error " + errorCode + " " + errorText),
            (warningType, denomination, numberOf, typeString, denominationString, warningMessage, extInfo) =>
                Hear("level " + warningMessage),
            message => Hear(message),
            (infoType, amount, extInfo) => Hear("session " + infoType)));
        Done(Session.initTL("Type:RS232;Name:COM1;", initSettings));
        Done(Session.loginTL(1, 1));
        Await(3);
    }

    private void Hear(string what)
    {
        lock (Heard)
            Heard.Add(what);
        Hears(what);
    }

    internal int HeardOf(string what)
    {
        lock (Heard)
            return Heard.FindAll(heard => heard.Contains(what)).Count;
    }

    internal static T Done<T>(T result) where T : Result
    {
        Check.True(result.Ok, result.ToString());
        return result;
    }

    internal void Await(int status)
    {
        Check.Within(10, () => Status == status, "status " + status + " and not " + Status);
    }

    /// <summary>Pay-in is opened, and a note of 2000 goes in for each count.</summary>
    internal void PayIn(int count)
    {
        Done(Session.enablePayinTL());
        Await(0);
        for (int i = 1; i <= count; ++i)
        {
            Check.Equal(2000, Hand.tlsim_insert(2000, 1), "insert");
            Check.Within(10, () => PaidIn == 2000 * i && Status == 0, "paid in");
        }
    }

    public void Dispose()
    {
        Session.Dispose();
    }
}
