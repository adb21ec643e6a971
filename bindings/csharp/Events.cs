using System;
using System.Collections.Concurrent;
using System.Runtime.InteropServices;
using System.Text;
using System.Threading;

namespace Tllogics
{
    /// <summary>The device's status changed. amountOrRest: what is paid in so far, and while the device pays
    /// what it can't pay. nStatus: 0 ready, 1 busy, 2 error, 3 ready with pay-in disabled. nMode: 0 closed, 1 open,
    /// 2 not opened after a login, 3 administration mode.</summary>
    public delegate void TLStatusEvent(int amountOrRest, ushort nStatus, ushort nMode);

    /// <summary>The device turned to its error status; resetTL is the way out.</summary>
    public delegate void TLErrorEvent(int errorCode, string errorText, string extInfo);

    /// <summary>A denomination is low, empty (numberOf 0) or high (numberOf 999).</summary>
    public delegate void TLCashLevelEvent(int denomination, ushort numberOf, string extInfo);

    /// <summary>The same with words to show. warningType: 1 empty, 2 low, 3 high.</summary>
    public delegate void TLLevelWarningEvent(ushort warningType, int denomination, ushort numberOf,
                                             string typeString, string denominationString, string warningMessage,
                                             string extInfo);

    /// <summary>The device has something to tell, such as what it could not pay.</summary>
    public delegate void TLInformationEvent(string message);

    /// <summary>The device began or ended a cash session.</summary>
    public delegate void TLCashSessionEvent(ushort infoType, int amount, string extInfo);

    /// <summary>The application's handlers; none of them changes once it is in use.</summary>
    internal sealed class Handlers
    {
        internal TLStatusEvent Status;
        internal TLErrorEvent Error;
        internal TLCashLevelEvent CashLevel;
        internal TLLevelWarningEvent LevelWarning;
        internal TLInformationEvent Information;
        internal TLCashSessionEvent CashSession;

        /// <summary>These, and for what is null those of "older".</summary>
        internal Handlers Over(Handlers older)
        {
            return new Handlers
            {
                Status = Status ?? older.Status,
                Error = Error ?? older.Error,
                CashLevel = CashLevel ?? older.CashLevel,
                LevelWarning = LevelWarning ?? older.LevelWarning,
                Information = Information ?? older.Information,
                CashSession = CashSession ?? older.CashSession
            };
        }
    }

    /// <summary>The way of an event from the device's library to the application.</summary>
    internal sealed class Events
    {
        // What native code calls lives as long as the process: it must outlast exitTL, and the event in which exitTL
        // was called.
        private static readonly Callbacks callbacks = new Callbacks();
        [ThreadStatic] private static int depth;

        private readonly SynchronizationContext context;
        private readonly Encoding encoding;
        private readonly ConcurrentQueue<Action> posted = new ConcurrentQueue<Action>();
        private readonly object delivery = new object();
        private volatile Handlers handlers = new Handlers();
        private volatile Exception lastException;

        internal Events(SynchronizationContext context, Encoding encoding)
        {
            this.context = context;
            this.encoding = encoding;
        }

        /// <summary>This thread runs an event of the library.</summary>
        internal static bool Inside
        {
            get { return depth > 0; }
        }

        /// <summary>Where events go from now on; null ends that.</summary>
        internal static Events Current
        {
            set { callbacks.Current = value; }
        }

        /// <summary>Returns when no event is under way.</summary>
        internal static void Await()
        {
            callbacks.Await();
        }

        internal event Action<Exception> HandlerThrew;

        internal Exception LastException
        {
            get { return lastException; }
        }

        internal Handlers Handlers
        {
            get { return handlers; }
            set { handlers = value; }
        }

        internal static IntPtr Pointer(TLStatusEvent handler)
        {
            return PointerIf(handler, callbacks.Status);
        }

        internal static IntPtr Pointer(TLErrorEvent handler)
        {
            return PointerIf(handler, callbacks.Error);
        }

        internal static IntPtr Pointer(TLCashLevelEvent handler)
        {
            return PointerIf(handler, callbacks.CashLevel);
        }

        internal static IntPtr Pointer(TLLevelWarningEvent handler)
        {
            return PointerIf(handler, callbacks.LevelWarning);
        }

        internal static IntPtr Pointer(TLInformationEvent handler)
        {
            return PointerIf(handler, callbacks.Information);
        }

        internal static IntPtr Pointer(TLCashSessionEvent handler)
        {
            return PointerIf(handler, callbacks.CashSession);
        }

        private static IntPtr PointerIf(Delegate handler, Delegate native)
        {
            return handler == null ? IntPtr.Zero : Marshal.GetFunctionPointerForDelegate(native);
        }

        /// <summary>In the order of the events and never two at once, whatever threads the context has; a handler that
        /// runs a message loop of its own gets further ones inside it.</summary>
        private void Deliver()
        {
            // Who finds another thread at it leaves the rest to that one, which looks again once it has let go.
            while (!posted.IsEmpty && Monitor.TryEnter(delivery))
            {
                try
                {
                    Action call;
                    while (posted.TryDequeue(out call))
                        Try(call);
                }
                finally
                {
                    Monitor.Exit(delivery);
                }
            }
        }

        private void Try(Action call)
        {
            try
            {
                call();
            }
            catch (Exception exception)
            {
                Report(exception);
            }
        }

        private void Report(Exception exception)
        {
            lastException = exception;
            try
            {
                HandlerThrew?.Invoke(exception);
            }
            catch (Exception another)
            {
                lastException = another;
            }
        }

        private string Text(IntPtr text)
        {
            if (text == IntPtr.Zero)
                return "";
            int size = 0;
            while (Marshal.ReadByte(text, size) != 0)
                ++size;
            var bytes = new byte[size];
            Marshal.Copy(text, bytes, 0, size);
            return encoding.GetString(bytes);
        }

        /// <summary>What native code calls.</summary>
        private sealed class Callbacks
        {
            internal readonly NativeStatus Status;
            internal readonly NativeError Error;
            internal readonly NativeCashLevel CashLevel;
            internal readonly NativeLevelWarning LevelWarning;
            internal readonly NativeInformation Information;
            internal readonly NativeCashSession CashSession;
            internal volatile Events Current;

            private readonly object gate = new object();
            private int underWay;

            internal Callbacks()
            {
                Status = OnStatus;
                Error = OnError;
                CashLevel = OnCashLevel;
                LevelWarning = OnLevelWarning;
                Information = OnInformation;
                CashSession = OnCashSession;
            }

            internal delegate void NativeStatus(int amountOrRest, ushort nStatus, ushort nMode);
            internal delegate void NativeError(int errorCode, IntPtr errorText, IntPtr extInfo);
            internal delegate void NativeCashLevel(int denomination, ushort numberOf, IntPtr extInfo);
            internal delegate void NativeLevelWarning(ushort warningType, int denomination, ushort numberOf,
                                                      IntPtr typeString, IntPtr denominationString,
                                                      IntPtr warningMessage, IntPtr extInfo);
            internal delegate void NativeInformation(IntPtr message);
            internal delegate void NativeCashSession(ushort infoType, int amount, IntPtr extInfo);

            internal void Await()
            {
                lock (gate)
                    while (underWay > 0)
                        Monitor.Wait(gate);
            }

            private void OnStatus(int amountOrRest, ushort nStatus, ushort nMode)
            {
                Raise((events, to) => () => to.Status?.Invoke(amountOrRest, nStatus, nMode));
            }

            private void OnError(int errorCode, IntPtr errorText, IntPtr extInfo)
            {
                Raise((events, to) =>
                {
                    string text = events.Text(errorText), info = events.Text(extInfo);
                    return () => to.Error?.Invoke(errorCode, text, info);
                });
            }

            private void OnCashLevel(int denomination, ushort numberOf, IntPtr extInfo)
            {
                Raise((events, to) =>
                {
                    string info = events.Text(extInfo);
                    return () => to.CashLevel?.Invoke(denomination, numberOf, info);
                });
            }

            private void OnLevelWarning(ushort warningType, int denomination, ushort numberOf, IntPtr typeString,
                                               IntPtr denominationString, IntPtr warningMessage, IntPtr extInfo)
            {
                Raise((events, to) =>
                {
                    string type = events.Text(typeString), name = events.Text(denominationString);
                    string message = events.Text(warningMessage), info = events.Text(extInfo);
                    return () => to.LevelWarning?.Invoke(warningType, denomination, numberOf, type, name, message,
                                                         info);
                });
            }

            private void OnInformation(IntPtr message)
            {
                Raise((events, to) =>
                {
                    string text = events.Text(message);
                    return () => to.Information?.Invoke(text);
                });
            }

            private void OnCashSession(ushort infoType, int amount, IntPtr extInfo)
            {
                Raise((events, to) =>
                {
                    string info = events.Text(extInfo);
                    return () => to.CashSession?.Invoke(infoType, amount, info);
                });
            }

            /// <summary>"prepare" copies what native code lends, and makes the call of the handler.</summary>
            private void Raise(Func<Events, Handlers, Action> prepare)
            {
                Events events = Current;
                if (events == null)
                    return;
                lock (gate)
                    ++underWay;
                ++depth;
                try
                {
                    Action call = prepare(events, events.handlers);
                    if (events.context == null)
                    {
                        events.Try(call);
                    }
                    else
                    {
                        events.posted.Enqueue(call);
                        events.context.Post(unused => events.Deliver(), null);
                    }
                }
                catch (Exception exception)
                {
                    events.Report(exception);
                }
                finally
                {
                    --depth;
                    lock (gate)
                    {
                        --underWay;
                        Monitor.PulseAll(gate);
                    }
                }
            }
        }
    }
}
