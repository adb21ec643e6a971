using System;
using System.Collections.Generic;
using System.Threading;
using System.Threading.Tasks;

namespace Tllogics
{
    /// <summary>Calls that wait for their turn. The thread that makes them is there while there are any, and keeps the
    /// process from ending in the middle of a payment.</summary>
    internal sealed class CallQueue
    {
        private readonly List<Item> items = new List<Item>();
        private bool working;
        private bool closed;

        internal Task<T> Add<T>(Func<T> call, CancellationToken cancellation)
        {
            lock (items)
            {
                if (closed)
                    throw Closed();
                if (!working)
                {
                    new Thread(Work) { Name = "tllogics calls" }.Start();
                    working = true;
                }
                var item = new Item<T>(call, cancellation);
                items.Add(item);
                return item.Task;
            }
        }

        /// <summary>What has not begun fails, and so does what is added later.</summary>
        internal void Close()
        {
            Item[] left;
            lock (items)
            {
                closed = true;
                left = items.ToArray();
                items.Clear();
            }
            foreach (Item item in left)
                item.Fail(Closed());
        }

        private static ObjectDisposedException Closed()
        {
            return new ObjectDisposedException(typeof(Session).FullName,
                                               "The session was closed before this call began.");
        }

        private void Work()
        {
            for (;;)
            {
                Item item;
                lock (items)
                {
                    if (items.Count == 0)
                    {
                        working = false;
                        return;
                    }
                    item = items[0];
                    items.RemoveAt(0);
                }
                item.Run();
            }
        }

        private abstract class Item
        {
            internal abstract void Run();
            internal abstract void Fail(Exception exception);
        }

        private sealed class Item<T> : Item
        {
            private readonly TaskCompletionSource<T> source = new TaskCompletionSource<T>();
            private readonly Func<T> call;
            private readonly CancellationTokenRegistration registration;
            private int taken;

            internal Item(Func<T> call, CancellationToken cancellation)
            {
                this.call = call;
                registration = cancellation.Register(() =>
                {
                    if (Take())
                        End(() => source.SetCanceled());
                });
            }

            internal Task<T> Task
            {
                get { return source.Task; }
            }

            internal override void Run()
            {
                if (!Take())
                    return;
                registration.Dispose();
                try
                {
                    T result = call();
                    End(() => source.SetResult(result));
                }
                catch (Exception exception)
                {
                    End(() => source.SetException(exception));
                }
            }

            internal override void Fail(Exception exception)
            {
                if (!Take())
                    return;
                registration.Dispose();
                End(() => source.SetException(exception));
            }

            private bool Take()
            {
                return Interlocked.Exchange(ref taken, 1) == 0;
            }

            // What awaits it must not go on upon the thread that makes the calls.
            private static void End(Action end)
            {
                ThreadPool.QueueUserWorkItem(unused => end());
            }
        }
    }
}
