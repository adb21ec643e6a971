using System;
using System.Runtime.CompilerServices;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;

namespace Tllogics
{
    /// <summary>The library, which a process has once. Functions, parameters and what they hand out have their names in
    /// tllogics.h, which tells what each call does, when it is allowed and how long it can take. Calls from several
    /// threads wait for each other. Inside an event on the library's own thread every call but exitTL throws
    /// InvalidOperationException.</summary>
    public sealed partial class Session : IDisposable
    {
        private const int TextSize = 1024;
        private static Session live;

        private readonly Library library;
        private readonly Encoding encoding;
        private readonly Events events;
        private readonly CallQueue queue = new CallQueue();
        private readonly object turn = new object();
        private volatile bool initiated;
        private volatile bool mayBeOpen;
        private Result[] closing;

        /// <summary>Loads the library. InvalidOperationException if another session is not closed yet.</summary>
        /// <param name="eventContext">Where events are raised, such as a window's SynchronizationContext.Current; null
        /// is the library's own thread, at once, and nothing further happens until the handler returns.</param>
        /// <param name="encoding">That of all texts, as in the language file; null is UTF-8. What can't be decoded is
        /// replaced.</param>
        /// <param name="libraryPath">The library's file or folder; null is beside the assembly, or in
        /// runtimes/linux-x64/native or runtimes/win-x64/native below it, or where the system finds it.</param>
        public Session(SynchronizationContext eventContext = null, Encoding encoding = null, string libraryPath = null)
        {
            this.encoding = (Encoding)(encoding ?? Encoding.UTF8).Clone();
            this.encoding.DecoderFallback = new DecoderReplacementFallback("\ufffd");
            this.encoding.EncoderFallback = EncoderFallback.ExceptionFallback;
            if (this.encoding.GetByteCount("A") != 1)
                throw new ArgumentException("Texts of the library are ended by one byte.", nameof(encoding));
            library = Library.Get(libraryPath);
            events = new Events(eventContext, this.encoding);
            if (Interlocked.CompareExchange(ref live, this, null) != null)
                throw new InvalidOperationException("Another session is not closed yet, and a process has one.");
            Events.Current = events;
            AppDomain.CurrentDomain.ProcessExit += Leave;
            AppDomain.CurrentDomain.DomainUnload += Leave;
        }

        /// <summary>A handler threw, on the thread it ran on. Nothing of it reaches the library.</summary>
        public event Action<Exception> UnhandledEventException
        {
            add { events.HandlerThrew += value; }
            remove { events.HandlerThrew -= value; }
        }

        /// <summary>What a handler threw last, or null.</summary>
        public Exception LastEventException
        {
            get { return events.LastException; }
        }

        /// <summary>Waits for the call under way, fails those that are queued, calls logoutTL if the device may be
        /// open and exitTL if initiated, and returns what these answered; again if called again. Not inside an
        /// event.</summary>
        public Result[] Close()
        {
            RefuseInsideEvent("Close");
            queue.Close();
            lock (turn)
            {
                if (closing == null)
                {
                    Result logout = mayBeOpen ? Run("logoutTL", (Library.OneResult f, byte[] m) => f(m)) : null;
                    Result exit = initiated ? Exit() : null;
                    // An event in which exitTL was called may still be under way.
                    Events.Await();
                    Events.Current = null;
                    closing = Array.FindAll(new[] { logout, exit }, result => result != null);
                    AppDomain.CurrentDomain.ProcessExit -= Leave;
                    AppDomain.CurrentDomain.DomainUnload -= Leave;
                    Interlocked.CompareExchange(ref live, null, this);
                }
                return (Result[])closing.Clone();
            }
        }

        /// <summary><see cref="Close"/>, whose results are there for a further call of it.</summary>
        public void Dispose()
        {
            Close();
        }

        // ---- Registration ----

        /// <summary>Status, errors and levels. Before initTL.</summary>
        public Result registerEventsTL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                                       TLCashLevelEvent cashLevelEvent)
        {
            return Register(
                new Handlers { Status = statusEvent, Error = errorEvent, CashLevel = cashLevelEvent },
                statusEvent != null && errorEvent != null && cashLevelEvent != null,
                (Library.Register3 f, byte[] m) => f(Events.Pointer(statusEvent), Events.Pointer(errorEvent),
                                                     Events.Pointer(cashLevelEvent), m));
        }

        /// <summary>The same and cash sessions.</summary>
        public Result registerEvents2TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                                        TLCashLevelEvent cashLevelEvent, TLCashSessionEvent cashSessionEvent)
        {
            return Register(
                new Handlers
                {
                    Status = statusEvent, Error = errorEvent, CashLevel = cashLevelEvent, CashSession = cashSessionEvent
                },
                statusEvent != null && errorEvent != null && cashLevelEvent != null && cashSessionEvent != null,
                (Library.Register4 f, byte[] m) => f(Events.Pointer(statusEvent), Events.Pointer(errorEvent),
                                                     Events.Pointer(cashLevelEvent),
                                                     Events.Pointer(cashSessionEvent), m));
        }

        /// <summary>Levels with words to show.</summary>
        public Result registerEvents3TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                                        TLLevelWarningEvent levelWarningEvent, TLCashSessionEvent cashSessionEvent)
        {
            return Register(
                new Handlers
                {
                    Status = statusEvent, Error = errorEvent, LevelWarning = levelWarningEvent,
                    CashSession = cashSessionEvent
                },
                statusEvent != null && errorEvent != null && levelWarningEvent != null && cashSessionEvent != null,
                (Library.Register4 f, byte[] m) => f(Events.Pointer(statusEvent), Events.Pointer(errorEvent),
                                                     Events.Pointer(levelWarningEvent),
                                                     Events.Pointer(cashSessionEvent), m));
        }

        /// <summary>All events there are, information texts too.</summary>
        public Result registerEvents4TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                                        TLLevelWarningEvent levelWarningEvent, TLInformationEvent informationEvent,
                                        TLCashSessionEvent cashSessionEvent)
        {
            return Register(
                new Handlers
                {
                    Status = statusEvent, Error = errorEvent, LevelWarning = levelWarningEvent,
                    Information = informationEvent, CashSession = cashSessionEvent
                },
                statusEvent != null && errorEvent != null && levelWarningEvent != null && informationEvent != null &&
                    cashSessionEvent != null,
                (Library.Register5 f, byte[] m) => f(Events.Pointer(statusEvent), Events.Pointer(errorEvent),
                                                     Events.Pointer(levelWarningEvent),
                                                     Events.Pointer(informationEvent),
                                                     Events.Pointer(cashSessionEvent), m));
        }

        /// <summary>Levels in both shapes.</summary>
        public Result registerEvents23TL(TLStatusEvent statusEvent, TLErrorEvent errorEvent,
                                         TLCashLevelEvent cashLevelEvent, TLLevelWarningEvent levelWarningEvent,
                                         TLCashSessionEvent cashSessionEvent)
        {
            return Register(
                new Handlers
                {
                    Status = statusEvent, Error = errorEvent, CashLevel = cashLevelEvent,
                    LevelWarning = levelWarningEvent, CashSession = cashSessionEvent
                },
                statusEvent != null && errorEvent != null && cashLevelEvent != null && levelWarningEvent != null &&
                    cashSessionEvent != null,
                (Library.Register5 f, byte[] m) => f(Events.Pointer(statusEvent), Events.Pointer(errorEvent),
                                                     Events.Pointer(cashLevelEvent),
                                                     Events.Pointer(levelWarningEvent),
                                                     Events.Pointer(cashSessionEvent), m));
        }

        /// <summary>The window, or on Linux the socket, that gets the events as <see cref="Messages"/>.</summary>
        public Result registerHwndTL(IntPtr hwndMessageTo)
        {
            return Call((Library.Handle f, byte[] m) => f(hwndMessageTo, m));
        }

        // ---- Lifecycle ----

        /// <summary>Opens the link. portSettings: "Type:RS232;Name:COM1;". initSettings: as in changeSettingsTL, or
        /// null.</summary>
        public Result initTL(string portSettings, string initSettings)
        {
            byte[] port = Bytes(portSettings), settings = Bytes(initSettings);
            return Call((Library.TwoTexts f, byte[] m) => f(port, settings, m));
        }

        /// <summary>Closes the link; logs nobody out. Also inside an event, where it overtakes a call that is under
        /// way.</summary>
        public Result exitTL()
        {
            return Events.Inside ? Exit() : Call((Library.OneResult f, byte[] m) => f(m));
        }

        // ---- Session ----

        /// <summary>Opens the device for cash; of each number the last two digits count.</summary>
        public Result loginTL(short loginNumber, short loginDigits)
        {
            return Call((Library.TwoNumbers f, byte[] m) => f(loginNumber, loginDigits, m));
        }

        /// <summary>The same with texts. A loginText of 65 characters or more ends the process.</summary>
        public Result loginStrTL(string loginNumberText, string loginText)
        {
            byte[] number = Bytes(loginNumberText), text = Bytes(loginText);
            return Call((Library.TwoTexts f, byte[] m) => f(number, text, m));
        }

        /// <summary>Closes the device.</summary>
        public Result logoutTL()
        {
            return Call((Library.OneResult f, byte[] m) => f(m));
        }

        /// <summary>Whether the device said last that it is open for cash.</summary>
        public OpenResult isOpenTL()
        {
            uint open = 0;
            return new OpenResult(Call((Library.AskOpen f, byte[] m) => f(out open, m)), open != 0);
        }

        /// <summary>What is known of the device since login.</summary>
        public InfoResult infoTL()
        {
            uint level = 0;
            byte[] commands = new byte[TextSize], master = new byte[TextSize], info = new byte[TextSize];
            return new InfoResult(Call((Library.AskInfo f, byte[] m) => f(out level, commands, master, info, m)),
                                  level, Text(commands), Text(master), Text(info));
        }

        // ---- Payment ----

        /// <summary>Opens the device for notes and coins, from the status event 0 on.</summary>
        public Result enablePayinTL()
        {
            return Call((Library.OneResult f, byte[] m) => f(m));
        }

        /// <summary>Closes it.</summary>
        public Result disablePayinTL()
        {
            return Call((Library.OneResult f, byte[] m) => f(m));
        }

        /// <summary>Keeps everything that was paid in.</summary>
        public Result depositTL(string transactionId)
        {
            byte[] id = Bytes(transactionId);
            return Call((Library.OneText f, byte[] m) => f(id, m));
        }

        /// <summary>Pays out amountDispense; "Done" does not say that all came out.</summary>
        public RestResult dispenseTL(int amountDispense, string transactionId)
        {
            int rest = 0;
            byte[] id = Bytes(transactionId);
            return new RestResult(Call((Library.Pay f, byte[] m) => f(amountDispense, id, out rest, m)), rest);
        }

        /// <summary>Asks whether an amount can be paid exactly, and pays nothing.</summary>
        public Result askPayoutTL(int amount)
        {
            return Call((Library.Amount f, byte[] m) => f(amount, m));
        }

        /// <summary>The same, and what lacks.</summary>
        public RestResult askPayout2TL(int amount)
        {
            int rest = 0;
            return new RestResult(Call((Library.AmountRest f, byte[] m) => f(amount, out rest, m)), rest);
        }

        /// <summary>Tells the device the sale's total, for its display.</summary>
        public Result informTotalAmountTL(int amountTotal)
        {
            return Call((Library.Amount f, byte[] m) => f(amountTotal, m));
        }

        /// <summary>Keeps amountDeposit of what was paid in and pays out amountDispense; "Done" does not say that all
        /// came out.</summary>
        public Result payoutTL(int amountDispense, int amountDeposit, string transactionId)
        {
            byte[] id = Bytes(transactionId);
            return Call((Library.PayOut f, byte[] m) => f(amountDispense, amountDeposit, id, m));
        }

        /// <summary>The same, and what lacks.</summary>
        public RestResult payout2TL(int amountDispense, int amountDeposit, string transactionId)
        {
            int rest = 0;
            byte[] id = Bytes(transactionId);
            return new RestResult(
                Call((Library.PayOut2 f, byte[] m) => f(amountDispense, amountDeposit, id, out rest, m)), rest);
        }

        /// <summary>Keeps all that was paid in and pays out what is above amountDue; "Done" does not say that all came
        /// out.</summary>
        public RestResult amountDueTL(int amountDue, string transactionId)
        {
            int rest = 0;
            byte[] id = Bytes(transactionId);
            return new RestResult(Call((Library.Pay f, byte[] m) => f(amountDue, id, out rest, m)), rest);
        }

        /// <summary>Has the device give change on what was paid in.</summary>
        public Result changeTL()
        {
            return Call((Library.OneResult f, byte[] m) => f(m));
        }

        /// <summary>Gives money back. regretType: 0 the last note, 1 everything.</summary>
        public Result regretTL(short regretType)
        {
            return Call((Library.Number f, byte[] m) => f(regretType, m));
        }

        /// <summary>Brings the device out of its error status.</summary>
        public Result resetTL()
        {
            return Call((Library.OneResult f, byte[] m) => f(m));
        }

        // ---- Administration ----

        /// <summary>adminModeType: 1 enters administration mode, any other value leaves it.</summary>
        public Result adminModeTL(short adminModeType)
        {
            return Call((Library.Number f, byte[] m) => f(adminModeType, m));
        }

        /// <summary>Moves what is above the cash float out of the drawer. type: 1, or any other value for the device's
        /// other way.</summary>
        public RestArraysResult collectToCashFloatTL(short type, string transactionId)
        {
            uint rest = 0;
            byte[] id = Bytes(transactionId);
            using (Cash cash = new Cash(library.free, null, null))
                return new RestArraysResult(
                    cash.Of(Call((Library.Cash f, byte[] m) => f(type, ref cash.Coins, ref cash.CoinCount,
                                                                 ref cash.Notes, ref cash.NoteCount, out rest, id, m))),
                    rest);
        }

        /// <summary>Ends a replenishment.</summary>
        public Result endReplenishTL(string transactionId)
        {
            byte[] id = Bytes(transactionId);
            return Call((Library.OneText f, byte[] m) => f(id, m));
        }

        /// <summary>Unlocks; number is passed on to the device.</summary>
        public Result unlockTL(uint number)
        {
            return Call((Library.UnsignedNumber f, byte[] m) => f(number, m));
        }

        /// <summary>Empties the device, or a part of it: number is passed on.</summary>
        public RestArraysResult purgeTL(uint number, string transactionId)
        {
            uint rest = 0;
            byte[] id = Bytes(transactionId);
            using (Cash cash = new Cash(library.free, null, null))
                return new RestArraysResult(
                    cash.Of(Call((Library.Purge f, byte[] m) => f(number, ref cash.Coins, ref cash.CoinCount,
                                                                  ref cash.Notes, ref cash.NoteCount, out rest, id,
                                                                  m))),
                    rest);
        }

        /// <summary>Pays out exactly the coins and notes given, of which nDenomination and nCount count, and hands out
        /// what was not paid. type is passed on.</summary>
        public RestArraysResult dispenseSpecifiedTL(short type, CashCountRecord[] coins, CashCountRecord[] notes,
                                                  string transactionId)
        {
            uint rest = 0;
            byte[] id = Bytes(transactionId);
            using (Cash cash = new Cash(library.free, coins, notes))
                return new RestArraysResult(
                    cash.Of(Call((Library.Cash f, byte[] m) => f(type, ref cash.Coins, ref cash.CoinCount,
                                                                 ref cash.Notes, ref cash.NoteCount, out rest, id, m))),
                    rest);
        }

        // ---- Cash count ----

        /// <summary>What the device holds.</summary>
        public CountResult cashCountTL()
        {
            using (Cash cash = new Cash(library.free, null, null))
                return cash.Of(Call((Library.Count f, byte[] m) => f(ref cash.Coins, ref cash.CoinCount,
                                                                     ref cash.Notes, ref cash.NoteCount, m)));
        }

        /// <summary>The same by the device's other command.</summary>
        public CountResult completeCashCountTL()
        {
            using (Cash cash = new Cash(library.free, null, null))
                return cash.Of(Call((Library.Count f, byte[] m) => f(ref cash.Coins, ref cash.CoinCount,
                                                                     ref cash.Notes, ref cash.NoteCount, m)));
        }

        // ---- Texts of events that came as messages ----

        /// <summary>The oldest text of an error message; empty if none is left.</summary>
        public ErrorInfoResult getErrorInfoTL()
        {
            byte[] text = new byte[TextSize], info = new byte[TextSize];
            return new ErrorInfoResult(Call((Library.TwoResults f, byte[] m) => f(text, info)), Text(text), Text(info));
        }

        /// <summary>The oldest text of a cash level message; empty if none is left.</summary>
        public ExtInfoResult getCashLevelInfoTL()
        {
            byte[] info = new byte[TextSize];
            return new ExtInfoResult(Call((Library.OneResult f, byte[] m) => f(info)), Text(info));
        }

        /// <summary>The oldest text of a cash session message; empty if none is left.</summary>
        public ExtInfoResult getCashSessionInfoTL()
        {
            byte[] info = new byte[TextSize];
            return new ExtInfoResult(Call((Library.OneResult f, byte[] m) => f(info)), Text(info));
        }

        /// <summary>As getCashLevelInfoTL, from the same store, with the words of
        /// <see cref="TLLevelWarningEvent"/>.</summary>
        public LevelWarningInfoResult getLevelWarningInfoTL()
        {
            int warningType = 1;
            byte[] type = new byte[TextSize], denomination = new byte[TextSize];
            byte[] warning = new byte[TextSize], info = new byte[TextSize];
            Result result = Call((Library.LevelWarning f, byte[] m) =>
                                     f(ref warningType, type, denomination, warning, info));
            return new LevelWarningInfoResult(result, warningType, Text(type), Text(denomination), Text(warning),
                                              Text(info));
        }

        // ---- Settings ----

        /// <summary>Changes settings, "key:value;" each. durationType: 0 for good, 1 until the next payment is
        /// over.</summary>
        public Result changeSettingsTL(string initSettings, short durationType)
        {
            byte[] settings = Bytes(initSettings);
            return Call((Library.TextAndNumber f, byte[] m) => f(settings, durationType, m));
        }

        // ---- What they share ----

        private static void RefuseInsideEvent(string call)
        {
            if (Events.Inside)
                throw new InvalidOperationException(call + " inside an event: let the handler return, and call then. " +
                                                    "exitTL alone may be called here.");
        }

        /// <summary>The function that has the caller's name, when it is this thread's turn.</summary>
        private Result Call<TSignature>(Func<TSignature, byte[], short> with, [CallerMemberName] string name = null)
            where TSignature : class
        {
            RefuseInsideEvent(name);
            lock (turn)
            {
                if (closing != null)
                    throw new ObjectDisposedException(typeof(Session).FullName);
                return Run(name, with);
            }
        }

        private Result Run<TSignature>(string name, Func<TSignature, byte[], short> with) where TSignature : class
        {
            var message = new byte[TextSize];
            short status = with(library.Function<TSignature>(name), message);
            var result = new Result(name, status, Text(message));
            Note(result);
            return result;
        }

        /// <summary>What closing has to undo.</summary>
        private void Note(Result result)
        {
            switch (result.Call)
            {
            case "initTL":
                initiated = initiated || result.Ok || result.Status == Statuses.TL_STATUS_WARNING;
                break;
            case "loginTL":
            case "loginStrTL":
                // A device that answered late, or whose answer was lost, may be open all the same.
                mayBeOpen = mayBeOpen || result.Ok || result.Status == Statuses.TL_STATUS_TIMEOUT ||
                    result.Status == Statuses.TL_STATUS_SEND_FAILED ||
                    result.Status == Statuses.TL_STATUS_FAILED_TO_COMPLY;
                break;
            case "logoutTL":
                mayBeOpen = mayBeOpen && !result.Ok;
                break;
            case "exitTL":
                if (!result.Ok)
                    break;
                initiated = mayBeOpen = false;
                events.Handlers = new Handlers();
                break;
            }
        }

        /// <summary>A process that ends with the link open can hang or crash: the run-time stops the thread that an
        /// event comes on, and the device's library waits for it, or raises the next one. So does an AppDomain that is
        /// unloaded.</summary>
        private void Leave(object sender, EventArgs arguments)
        {
            bool isFree = Monitor.TryEnter(turn, 1000);
            if (initiated)
                Exit(); // overtakes a call that is under way
            if (isFree)
                Monitor.Exit(turn);
        }

        private Result Exit()
        {
            return Run("exitTL", (Library.OneResult f, byte[] m) => f(m));
        }

        private Result Register<TSignature>(Handlers handlers, bool complete,
                                            Func<TSignature, byte[], short> with,
                                            [CallerMemberName] string name = null) where TSignature : class
        {
            return Call((TSignature f, byte[] m) =>
            {
                // An event may come before the function has returned.
                Handlers before = events.Handlers;
                if (complete)
                    events.Handlers = handlers.Over(before);
                short status = with(f, m);
                if (status != Statuses.TL_STATUS_OK)
                    events.Handlers = before;
                return status;
            }, name);
        }

        /// <summary>Null stays null. ArgumentException for a text that would arrive as another one.</summary>
        private byte[] Bytes(string text)
        {
            if (text == null)
                return null;
            if (text.IndexOf('\0') >= 0)
                throw new ArgumentException("The text has a NUL in it.");
            return encoding.GetBytes(text + "\0");
        }

        private string Text(byte[] bytes)
        {
            int end = Array.IndexOf(bytes, (byte)0);
            return encoding.GetString(bytes, 0, end < 0 ? bytes.Length : end);
        }

        /// <summary>Two lists on their way to the library and back: what is given stays ours, and what it puts in their
        /// place is released by its own free().</summary>
        private sealed class Cash : IDisposable
        {
            internal IntPtr Coins;
            internal IntPtr Notes;
            internal int CoinCount;
            internal int NoteCount;

            private readonly Library.Release free;
            private readonly IntPtr givenCoins;
            private readonly IntPtr givenNotes;

            internal Cash(Library.Release free, CashCountRecord[] coins, CashCountRecord[] notes)
            {
                this.free = free;
                Coins = givenCoins = Given(coins, out CoinCount);
                Notes = givenNotes = Given(notes, out NoteCount);
            }

            internal CountResult Of(Result result)
            {
                return new CountResult(result, Records(Coins, CoinCount), Records(Notes, NoteCount));
            }

            public void Dispose()
            {
                if (Coins != givenCoins)
                    free(Coins);
                if (Notes != givenNotes)
                    free(Notes);
                Marshal.FreeHGlobal(givenCoins);
                Marshal.FreeHGlobal(givenNotes);
            }

            private static readonly int size = Marshal.SizeOf(typeof(CashCountRecord));

            private static IntPtr Given(CashCountRecord[] records, out int count)
            {
                count = records == null ? 0 : records.Length;
                if (count == 0)
                    return IntPtr.Zero;
                IntPtr array = Marshal.AllocHGlobal(checked(count * size));
                for (int i = 0; i < count; ++i)
                    Marshal.StructureToPtr(records[i], IntPtr.Add(array, i * size), false);
                return array;
            }

            private static CashCountRecord[] Records(IntPtr array, int count)
            {
                var records = new CashCountRecord[count];
                for (int i = 0; i < records.Length; ++i)
                    records[i] = (CashCountRecord)Marshal.PtrToStructure(IntPtr.Add(array, i * size),
                                                                         typeof(CashCountRecord));
                return records;
            }
        }
    }
}
