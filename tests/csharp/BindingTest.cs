using System;
using System.Collections.Generic;
using System.IO;
using System.Linq;
using System.Reflection;
using System.Runtime.CompilerServices;
using System.Runtime.InteropServices;
using System.Text;
using System.Text.RegularExpressions;
using System.Threading;
using System.Threading.Tasks;
using Tllogics;
using static Tllogics.Statuses;

/// <summary>BindingTest &lt;test&gt; &lt;source directory&gt;: one test a process.</summary>
internal static class BindingTest
{
    private static string root;

    private static int Main(string[] arguments)
    {
        root = arguments[1];
        string logs = Environment.GetEnvironmentVariable("TLLOGS");
        if (Directory.Exists(logs))
            Directory.Delete(logs, true);
        try
        {
            const BindingFlags test = BindingFlags.NonPublic | BindingFlags.Static;
            typeof(BindingTest).GetMethod(arguments[0], test).Invoke(null, null);
            // At a return Mono may wait a minute for a thread of its pool that has only just begun.
            if (arguments[0] != "leaving")
                Environment.Exit(0);
            return 0;
        }
        catch (TargetInvocationException exception)
        {
            Console.WriteLine(exception.InnerException);
            return 1;
        }
    }

    private static string Read(string file)
    {
        return File.ReadAllText(Path.Combine(root, file));
    }

    // ---- What is there ----

    private static IEnumerable<MethodInfo> Functions(string ending = "TL")
    {
        return typeof(Session).GetMethods().Where(method => method.Name.EndsWith(ending, StringComparison.Ordinal));
    }

    private static string Sorted(IEnumerable<string> names)
    {
        return string.Join(" ", names.OrderBy(name => name, StringComparer.Ordinal));
    }

    private static string Match(string text, string pattern)
    {
        return Regex.Match(text, pattern, RegexOptions.Singleline).Groups[1].Value;
    }

    private static string[] ParametersOf(string list)
    {
        return list.Split(',').Select(parameter => Regex.Match(parameter, @"\w+\s*$").Value.Trim()).ToArray();
    }

    /// <summary>All that the header names is there under that name.</summary>
    private static void names()
    {
        string header = Regex.Replace(Read("api/tllogics.h"), @"/\*.*?\*/", "", RegexOptions.Singleline);
        var exports = Read("api/exports.list").Split('\n').Where(line => line != "" && line[0] != '#');
        Check.Equal(Sorted(exports), Sorted(Functions().Select(function => function.Name)), "names");

        // Each parameter is a parameter, or part of what is answered.
        foreach (MethodInfo function in Functions())
        {
            var given = function.GetParameters().Select(parameter => parameter.Name).ToArray();
            var answered = function.ReturnType.GetProperties().Select(property => property.Name)
                .Concat(new[] { "message", "nCoins", "nNotes" });
            var all = ParametersOf(Match(header, @"int16_t " + function.Name + @"\((.*?)\);"));
            Check.Equal(string.Join(" ", all.Intersect(given)), string.Join(" ", given), function.Name);
            Check.Equal("", string.Join(" ", all.Except(given).Except(answered)), function.Name);
        }
        foreach (Match type in Regex.Matches(header, @"typedef void \(\*(\w+)\)\((.*?)\);", RegexOptions.Singleline))
            Check.Equal(string.Join(" ", ParametersOf(type.Groups[2].Value)),
                        string.Join(" ", typeof(Session).Assembly.GetType("Tllogics." + type.Groups[1].Value)
                                             .GetMethod("Invoke").GetParameters().Select(parameter => parameter.Name)),
                        type.Groups[1].Value);

        var constants = typeof(Statuses).GetFields().Concat(typeof(Messages).GetFields())
            .ToDictionary(field => field.Name, field => field.GetRawConstantValue().ToString());
        var defined = Regex.Matches(header, @"#define (TL_\w+) ""?(\w+)").Cast<Match>().ToArray();
        Check.True(defined.Length > 20, "constants of the header");
        foreach (Match define in defined)
        {
            string value = define.Groups[2].Value;
            Check.Equal(value.StartsWith("0x") ? Convert.ToInt32(value, 16).ToString() : value,
                        constants[define.Groups[1].Value], define.Value);
        }
        string[] fields = Regex.Matches(Match(header, @"struct CashCountRecord \{(.*?)\}"), @"\w+(?=;)").Cast<Match>()
            .Select(field => field.Value).ToArray();
        Check.True(fields.Length > 0, "fields of the header");
        Check.Equal(4 * fields.Length, Marshal.SizeOf(typeof(CashCountRecord)), "size");
        for (int i = 0; i < fields.Length; ++i)
            Check.Equal(4 * i, Marshal.OffsetOf(typeof(CashCountRecord), fields[i]).ToInt32(), fields[i]);
    }

    private static IEnumerable<string[]> Table()
    {
        return Read("docs/statuses.tsv").Split('\n').Skip(1).Where(line => line != "").Select(line => line.Split('\t'));
    }

    /// <summary>What each status says of the money is what the table says.</summary>
    private static void money()
    {
        var paying = new HashSet<string>(Table().Where(row => row[3] != "no").Select(row => row[0]));
        foreach (string[] row in Table())
            Check.Equal(row[3], Result.MoneyOf(row[0], short.Parse(row[1]), "text").ToString().ToLowerInvariant(),
                        row[0] + " " + row[1]);
        foreach (string call in Table().Select(row => row[0]).Distinct())
        {
            Money notKnown = paying.Contains(call) ? Money.Unknown : Money.No;
            Check.Equal(notKnown, Result.MoneyOf(call, 2, ""), call + " without memory");
            foreach (short status in new short[] { -1, 9, 25, 130 })
                Check.Equal(notKnown, Result.MoneyOf(call, status, "text"), call + " " + status);
        }
    }

    private static object[] Defaults(MethodInfo method)
    {
        return method.GetParameters()
            .Select(p => p.ParameterType.IsValueType ? Activator.CreateInstance(p.ParameterType) : null).ToArray();
    }

    /// <summary>Every function can be called, both ways, with nulls for texts and arrays.</summary>
    private static void calls()
    {
        var table = new HashSet<string>(Table().Select(row => row[0] + " " + row[1]));
        var queued = Functions("TLAsync").ToDictionary(method => method.Name);
        using (var session = new Session())
        {
            foreach (MethodInfo function in Functions())
            {
                var result = (Result)function.Invoke(session, Defaults(function));
                bool refused = Regex.IsMatch(function.Name, "^(register|initTL|changeSettings)");
                Check.Equal(refused ? TL_STATUS_INPUT_PARAM_ERROR : TL_STATUS_ERROR, result.Status, function.Name);
                Check.True(table.Contains(result.Call + " " + result.Status), result.ToString());
                Check.Equal(Money.No, result.Money, result.ToString());
                MethodInfo async;
                if (!queued.TryGetValue(function.Name + "Async", out async))
                    continue;
                queued.Remove(async.Name);
                var task = (Task)async.Invoke(session, Defaults(async));
                task.Wait();
                object again = task.GetType().GetProperty("Result").GetValue(task, null);
                Check.Equal(result.ToString(), again.ToString(), "queued");
            }
            Check.Equal(3, session.dispenseSpecifiedTL(0, null, new[] { Pieces(100, 3) }, "").notes[0].nCount, "given");
            Check.Equal(0, session.Close().Length, "nothing to close");
        }
        Check.Equal(0, queued.Count, "queued calls of no function");
    }

    // ---- Sales ----

    private static long Value(params CashCountRecord[][] lists)
    {
        return lists.Sum(list => list.Sum(r => (long)r.nDenomination * (r.nTotal != 0 ? r.nTotal : r.nCount)));
    }

    private static CashCountRecord Pieces(int denomination, int count)
    {
        return new CashCountRecord { nDenomination = denomination, nCount = count };
    }

    /// <summary>Money in and out, and each kind of answer that a device gives.</summary>
    private static void sale()
    {
        Hand.Configure(@"""payOutTime"": 500", 150);
        using (var till = new Till())
        {
            Session session = till.Session;
            Check.Equal("03.12", Till.Done(session.infoTL()).master, "master");
            CountResult before = Till.Done(session.cashCountTL());
            Check.Equal("100 2000", before.coins[0].nDenomination + " " + before.notes[0].nDenomination, "first ones");
            till.PayIn(2);
            Check.True(Till.Done(session.isOpenTL()).open, "open");
            RestResult half = session.askPayout2TL(50);
            Check.Equal(TL_STATUS_NOT_POSSIBLE + " 50", half.Status + " " + half.amountRest, half.ToString());
            RestResult paid = Till.Done(session.amountDueTL(2300, "receipt 1"));
            Check.Equal(Money.Yes, paid.Money, paid.ToString());
            CountResult after = Till.Done(session.completeCashCountTL());
            Check.Equal(2300, Value(after.coins, after.notes) - Value(before.coins, before.notes), "kept");

            // What could not be paid comes back.
            Till.Done(session.disablePayinTL());
            till.Await(3);
            Hand.tlsim_stick(100, 200);
            var coins = new[] { Pieces(100, 3) };
            Hand.AnswerAfter(300);
            session.askPayoutTLAsync(100);
            var paying = session.dispenseSpecifiedTLAsync(1, coins, new[] { Pieces(2000, 1) }, null);
            coins[0].nCount = 2; // too late for the call that waits
            RestArraysResult left = paying.Result;
            Check.Equal(TL_STATUS_FAILED_TO_COMPLY, left.Status, left.ToString());
            Check.Equal(Money.Yes, left.Money, left.ToString());
            Check.Equal("300 3 0", left.amountRest + " " + left.coins[0].nCount + " " + left.notes.Length, "left");
            till.Await(3);
            Check.Equal(1, Hand.tlsim_balances(), "balances");
            Result[] closed = session.Close();
            Check.Equal("logoutTL: 0, Done|exitTL: 0, Done", string.Join<Result>("|", closed), "closed");
        }
    }

    private static void Init(Session session, string initSettings)
    {
        Till.Done(session.registerEventsTL((amount, status, mode) => { }, (code, text, info) => { },
                                           (denomination, number, info) => { }));
        Till.Done(session.initTL("Type:RS232;Name:COM1;", initSettings));
    }

    private static long Resident()
    {
        return long.Parse(File.ReadAllText("/proc/self/statm").Split(' ')[1]) * Environment.SystemPageSize;
    }

    /// <summary>The arrays that a refused call hands out are released: it hands back all that it was given.</summary>
    private static void arrays()
    {
        using (var session = new Session())
        {
            Hand.Configure();
            Init(session, "LogDebug:0;LogCRToCAPI:0;");
            CashCountRecord[] many = Enumerable.Range(1, 20000).Select(i => Pieces(100, 1)).ToArray();
            Action refuse = () =>
                Check.Equal(many.Length, session.dispenseSpecifiedTL(1, many, many, "").notes.Length, "left");
            for (int i = 0; i < 20; ++i)
                refuse();
            long before = Resident();
            for (int i = 0; i < 100; ++i)
                refuse();
            long more = (Resident() - before) >> 20;
            Check.True(more < 15, "61 MiB came and went, and " + more + " MiB of them stayed");
        }
    }

    // ---- Events ----

    [MethodImpl(MethodImplOptions.NoInlining)]
    private static Till ForgottenHandlers()
    {
        return new Till();
    }

    /// <summary>Collections all the time, while the device sends; in the end exitTL inside an event.</summary>
    private static void collections()
    {
        Hand.Configure(messageGap: 30);
        bool over = false;
        int collected = 0;
        var collector = new Thread(() =>
        {
            var garbage = new List<byte[]>();
            while (!Volatile.Read(ref over))
            {
                for (int i = 0; i < 100; ++i)
                    garbage.Add(new byte[10000]);
                garbage.Clear();
                GC.Collect();
                GC.WaitForPendingFinalizers();
                Interlocked.Increment(ref collected);
            }
        }) { IsBackground = true };
        collector.Start();
        for (int round = 0; round < 3; ++round)
        {
            Till till = ForgottenHandlers();
            for (int i = 200; i < 220; ++i)
                Hand.Tell("Event " + i);
            till.PayIn(2);
            Till.Done(till.Session.amountDueTL(3900, ""));
            Check.Within(10, () => till.HeardOf("Event 2") == 20, "all events");
            Result exit = null;
            int thread = 0;
            till.Hears = heard =>
            {
                if (heard != "Event 002")
                    return;
                thread = Hand.gettid();
                exit = till.Session.exitTL();
                int enough = Volatile.Read(ref collected) + 3;
                Check.Within(10, () => Volatile.Read(ref collected) >= enough, "collections inside the event");
            };
            Hand.Tell("Event 002");
            Check.Within(10, () => exit != null, "exit");
            Till.Done(exit);
            till.Dispose();
            // Mono aborts if it ends while a thread that has been in it does.
            Check.Within(10, () => !Directory.Exists("/proc/self/task/" + thread), "end of the device's thread");
        }
        Volatile.Write(ref over, true);
        collector.Join();
    }

    /// <summary>The session's AppDomain is unloaded, and another's process ends in the middle of an event.</summary>
    private static void leaving()
    {
        AppDomain domain = AppDomain.CreateDomain("other");
        domain.DoCallBack(() => new Till());
        AppDomain.Unload(domain);
        Check.Equal("end exitTL", Logged().Last(), "an open link would call what is gone");
        Hand.Configure();
        var till = new Till { Hears = heard => Thread.Sleep(200) };
        Hand.Tell("Event 001");
        Hand.Tell("Event 002");
        Check.Within(10, () => till.HeardOf("Event 001") == 1, "event");
    }

    /// <summary>The process ends in the middle of a call.</summary>
    private static void exiting()
    {
        Hand.Configure(@"""payOutTime"": 5000");
        var till = new Till(null, "AutoDisable:1;PayOutOkCheck:1;StatusOkTimeout:2;");
        till.Session.dispenseTLAsync(100, "");
        till.Await(1);
    }

    private sealed class OneThread : SynchronizationContext
    {
        private readonly Queue<Action> queue = new Queue<Action>();
        internal readonly Thread Thread;

        internal OneThread()
        {
            Thread = new Thread(Work) { IsBackground = true };
            Thread.Start();
        }

        public override void Post(SendOrPostCallback callback, object state)
        {
            lock (queue)
            {
                queue.Enqueue(() => callback(state));
                Monitor.Pulse(queue);
            }
        }

        private void Work()
        {
            for (;;)
            {
                Action next;
                lock (queue)
                {
                    while (queue.Count == 0)
                        Monitor.Wait(queue);
                    next = queue.Dequeue();
                }
                next();
            }
        }
    }

    /// <summary>Events come where they shall, in their order and one at a time; what a handler throws stays
    /// there.</summary>
    private static void context()
    {
        var oneThread = new OneThread();
        foreach (SynchronizationContext context in new[] { oneThread, new SynchronizationContext(), null })
        {
            Hand.Configure();
            using (var till = new Till(context))
            {
                int inside = 0, atOnce = 0, elsewhere = 0;
                var thrown = new List<string>();
                Result called = null;
                till.Session.UnhandledEventException += exception => thrown.Add(exception.Message);
                till.Hears = heard =>
                {
                    if (Interlocked.Increment(ref inside) > 1)
                        ++atOnce;
                    if (context == oneThread && Thread.CurrentThread != oneThread.Thread)
                        ++elsewhere;
                    if (context != null)
                        called = till.Session.isOpenTL();
                    Thread.Sleep(heard.GetHashCode() % 40 + 40);
                    Interlocked.Decrement(ref inside);
                    if (heard == "Event 105")
                        throw new Exception(heard);
                };
                for (int i = 100; i < 115; ++i)
                    Hand.Tell("Event " + i);
                Check.Within(10, () => till.HeardOf("Event 114") == 1, "the last one");
                Check.Equal(string.Join(" ", Enumerable.Range(100, 15)),
                            string.Join(" ", till.Heard.Where(h => h[0] == 'E').Select(h => h.Substring(6))), "order");
                Check.Equal("0 0", atOnce + " " + elsewhere, "at once, elsewhere");
                Check.True(context == null || called.Ok, "a handler may call");
                Check.Equal("Event 105", string.Join(",", thrown), "thrown");
                Check.Equal("Event 105", till.Session.LastEventException.Message, "thrown last");
            }
        }
    }

    /// <summary>Inside an event on the library's thread nothing can be called but exitTL, which ends what
    /// runs.</summary>
    private static void inside()
    {
        Hand.Configure(@"""payOutTime"": 3000");
        var till = new Till(null, "AutoDisable:1;PayOutOkCheck:1;StatusOkTimeout:1;");
        string wrong = null;
        Result exit = null;
        till.Hears = heard =>
        {
            try
            {
                if (heard != "Event 001")
                    return;
                foreach (MethodInfo method in Functions().Concat(Functions("Async")).Where(m => m.Name != "exitTL"))
                    Check.Throws<InvalidOperationException>(() => method.Invoke(till.Session, Defaults(method)),
                                                            method.Name);
                Check.Throws<InvalidOperationException>(till.Dispose, "Close");
                exit = till.Session.exitTL();
            }
            catch (Exception exception)
            {
                wrong = exception.ToString();
            }
        };
        Task.Delay(300).ContinueWith(unused => Hand.Tell("Event 001", 1));
        RestResult paid = till.Session.dispenseTL(100, "");
        Check.True(paid.Status == TL_STATUS_TIMEOUT || paid.Status == TL_STATUS_SEND_FAILED, paid.ToString());
        Check.Equal(Money.Unknown, paid.Money, "money");
        Check.Within(10, () => exit != null || wrong != null, "exit");
        Check.Equal(null, wrong, "refusals");
        Till.Done(exit);
        Check.Equal(0, till.Session.Close().Length, "nothing is left to close");
    }

    // ---- Queued calls ----

    /// <summary>"begin" and "end" of each call, as the log has them.</summary>
    private static List<string> Logged()
    {
        string logs = Environment.GetEnvironmentVariable("TLLOGS");
        string file = Directory.GetFiles(logs, "tlapi_*", SearchOption.AllDirectories)
                          .OrderBy(File.GetLastWriteTimeUtc).Last();
        return Regex.Matches(File.ReadAllText(file), @"(=> (\w+TL)\()|([=!]{2} (\w+TL): .*Returning)").Cast<Match>()
            .Select(match => match.Groups[2].Success ? "begin " + match.Groups[2] : "end " + match.Groups[4]).ToList();
    }

    /// <summary>One at a time in their order, also beside other threads; what has not begun can be taken
    /// back.</summary>
    private static void queue()
    {
        Hand.Configure();
        using (var till = new Till())
        {
            Session session = till.Session;
            int before = Logged().Count;
            Hand.AnswerAfter(300);
            using (var cancellation = new CancellationTokenSource())
            {
                Task<Result> first = session.askPayoutTLAsync(100, cancellation.Token);
                Task<RestResult> second = session.askPayout2TLAsync(100);
                Task<RestResult> taken = session.dispenseTLAsync(100, "", cancellation.Token);
                Task<CountResult> last = session.cashCountTLAsync();
                var others = Enumerable.Range(1, 3)
                    .Select(i => Task.Run(() => session.informTotalAmountTL(i))).ToArray();
                Check.Within(10, () => Logged().Contains("begin askPayoutTL"), "the first one");
                cancellation.Cancel();
                string worker = null;
                Task went = second.ContinueWith(task => worker = Thread.CurrentThread.Name,
                                                TaskContinuationOptions.ExecuteSynchronously);
                Check.Throws<TaskCanceledException>(taken.Wait, "");
                Till.Done(first.Result);
                Hand.AnswerAfter(1);
                Till.Done(second.Result);
                Check.Equal(30000, Value(last.Result.coins, last.Result.notes), "count");
                Task.WaitAll(others);
                went.Wait();
                Check.True(worker != "tllogics calls", "what follows a call kept the queue");
            }
            List<string> log = Logged().Skip(before).ToList();
            for (int i = 0; i < log.Count; i += 2)
                Check.Equal(log[i].Replace("begin ", "end "), log[i + 1], string.Join("\n", log));
            Check.Equal("askPayoutTL askPayout2TL cashCountTL",
                        string.Join(" ", log.Where(line => line.StartsWith("begin") && !line.Contains("inform"))
                                             .Select(line => line.Substring(6))), "order");
            Check.Equal(12, log.Count, string.Join("\n", log));
        }
    }

    /// <summary>One session at a time; what runs when it is closed ends as it does, what waits fails.</summary>
    private static void closing()
    {
        Hand.Configure();
        for (int round = 0; round < 2; ++round)
        {
            var till = new Till();
            Check.Throws<InvalidOperationException>(() => new Session(), "closed");
            Hand.AnswerAfter(500);
            int begun = Logged().Count;
            Task<Result> running = till.Session.askPayoutTLAsync(100);
            Task<Result> waiting = till.Session.regretTLAsync(1);
            Check.Within(10, () => Logged().Count > begun, "the first one");
            Task<Result[]> closed = till.Session.CloseAsync();
            Hand.AnswerAfter(1);
            Check.Throws<ObjectDisposedException>(waiting.Wait, "before this call began");
            Till.Done(running.Result);
            Check.Equal("logoutTL exitTL", string.Join(" ", closed.Result.Select(r => Till.Done(r).Call)), "closed");
            Check.Equal(2, till.Session.Close().Length, "the same again");
            Check.Throws<ObjectDisposedException>(() => till.Session.isOpenTL(), "Session");
            Check.Throws<ObjectDisposedException>(() => till.Session.logoutTLAsync(), "Session");
        }
        Hand.Configure(@"""loginOpens"": false");
        using (var session = new Session())
        {
            Init(session, null);
            Check.Equal(TL_STATUS_FAILED_TO_COMPLY, session.loginTL(1, 1).Status, "not opened");
            Check.Equal("logoutTL exitTL", string.Join(" ", session.Close().Select(r => r.Call)), "all the same");
        }
    }

    /// <summary>The library by its path; texts in another code page.</summary>
    private static void loading()
    {
        string library = Path.Combine(Environment.GetEnvironmentVariable("LD_LIBRARY_PATH"), "libtllogics.so.1");
        Check.Throws<DllNotFoundException>(() => new Session(libraryPath: "/nowhere/a.so"), "/nowhere/a.so");
        Check.Throws<ArgumentException>(() => new Session(encoding: Encoding.Unicode), "one byte");
        string folder = Environment.GetEnvironmentVariable("TLLOGS");
        Directory.CreateDirectory(folder);
        Directory.SetCurrentDirectory(folder);
        Encoding latin = Encoding.GetEncoding("iso-8859-1");
        File.WriteAllText(Path.Combine(folder, "tllang.ini"), "[Lang]\nClosed=St\u00e4ngd\n", latin);
        Hand.Configure();
        foreach (Encoding encoding in new[] { latin, null, Encoding.ASCII })
        {
            string text = encoding == latin ? "St\u00e4ngd" : "St\ufffdngd";
            using (var session = new Session(encoding: encoding, libraryPath: Path.GetDirectoryName(library)))
            {
                Check.Throws<InvalidOperationException>(() => new Session(libraryPath: "/elsewhere.so"), library);
                Init(session, null);
                Check.Equal(text, session.depositTL("").Text, "text");
                Check.Throws<ArgumentException>(() => session.depositTL("a\0b"), "NUL");
                if (encoding != null)
                    Check.Throws<ArgumentException>(() => session.depositTL("\u20ac"), "");
            }
        }
    }
}
