using System;
using System.Collections.Generic;
using System.IO;
using System.Runtime.InteropServices;

namespace Tllogics
{
    /// <summary>The native library: found, loaded and left there for as long as the process lives.</summary>
    internal sealed class Library
    {
        private static readonly object gate = new object();
        private static Library loaded;

        private readonly Dictionary<string, Delegate> functions = new Dictionary<string, Delegate>();
        private readonly IntPtr handle;
        private readonly string file;

        /// <summary>Releases an array that the library handed out.</summary>
        internal readonly Release free;

        private Library(string path)
        {
            file = path ?? BesideAssembly() ?? Modules.FileName;
            string reason;
            handle = Modules.Open(file, out reason);
            if (handle == IntPtr.Zero)
                throw new DllNotFoundException(file + " can't be loaded: " + reason);
            free = (Release)Marshal.GetDelegateForFunctionPointer(Modules.FindFree(), typeof(Release));
        }

        /// <summary>The one library of the process; "path" is a file or a folder, or null.</summary>
        internal static Library Get(string path)
        {
            if (!Environment.Is64BitProcess)
                throw new PlatformNotSupportedException(
                    "tllogics is a 64-bit library and this is a 32-bit process: build for x64, without " +
                    "\"prefer 32-bit\".");
            if (path != null)
            {
                path = Path.GetFullPath(path);
                if (Directory.Exists(path))
                    path = Path.Combine(path, Modules.FileName);
            }
            lock (gate)
            {
                if (loaded == null)
                    loaded = new Library(path);
                else if (path != null && path != loaded.file)
                    throw new InvalidOperationException("This process has loaded " + loaded.file + " already.");
                return loaded;
            }
        }

        private static string BesideAssembly()
        {
            // An assembly inside a bundle has no place of its own.
            string location = typeof(Library).Assembly.Location;
            string[] directories =
            {
                string.IsNullOrEmpty(location) ? null : Path.GetDirectoryName(location),
                AppDomain.CurrentDomain.BaseDirectory
            };
            foreach (string directory in directories)
            {
                if (string.IsNullOrEmpty(directory))
                    continue;
                string beside = Path.Combine(directory, Modules.FileName);
                if (File.Exists(beside))
                    return beside;
                string below = Path.Combine(Path.Combine(directory, Modules.PackageFolder), Modules.FileName);
                if (File.Exists(below))
                    return below;
            }
            return null;
        }

        /// <summary>The function of that name, whose signature is the delegate's.</summary>
        internal TSignature Function<TSignature>(string name) where TSignature : class
        {
            lock (functions)
            {
                Delegate function;
                if (!functions.TryGetValue(name, out function))
                {
                    IntPtr address = Modules.Find(handle, name);
                    if (address == IntPtr.Zero)
                        throw new EntryPointNotFoundException(file + " has no " + name + ".");
                    function = Marshal.GetDelegateForFunctionPointer(address, typeof(TSignature));
                    functions.Add(name, function);
                }
                return (TSignature)(object)function;
            }
        }

        // Texts are bytes ended by NUL, and null is null. What is written into has room for 1024. 64-bit systems
        // have one calling convention.
        internal delegate short OneResult([In, Out] byte[] text);
        internal delegate short TwoResults([In, Out] byte[] first, [In, Out] byte[] second);
        internal delegate short Register3(IntPtr status, IntPtr error, IntPtr level, [In, Out] byte[] message);
        internal delegate short Register4(IntPtr status, IntPtr error, IntPtr level, IntPtr session,
                                          [In, Out] byte[] message);
        internal delegate short Register5(IntPtr status, IntPtr error, IntPtr third, IntPtr fourth, IntPtr session,
                                          [In, Out] byte[] message);
        internal delegate short Handle(IntPtr handle, [In, Out] byte[] message);
        internal delegate short OneText(byte[] text, [In, Out] byte[] message);
        internal delegate short TwoTexts(byte[] first, byte[] second, [In, Out] byte[] message);
        internal delegate short Number(short number, [In, Out] byte[] message);
        internal delegate short TwoNumbers(short first, short second, [In, Out] byte[] message);
        internal delegate short UnsignedNumber(uint number, [In, Out] byte[] message);
        internal delegate short TextAndNumber(byte[] text, short number, [In, Out] byte[] message);
        internal delegate short AskOpen(out uint open, [In, Out] byte[] message);
        internal delegate short AskInfo(out uint level, [In, Out] byte[] commands, [In, Out] byte[] master,
                                        [In, Out] byte[] info, [In, Out] byte[] message);
        internal delegate short Amount(int amount, [In, Out] byte[] message);
        internal delegate short AmountRest(int amount, out int amountRest, [In, Out] byte[] message);
        internal delegate short Pay(int amount, byte[] transactionId, out int amountRest, [In, Out] byte[] message);
        internal delegate short PayOut(int amountDispense, int amountDeposit, byte[] transactionId,
                                       [In, Out] byte[] message);
        internal delegate short PayOut2(int amountDispense, int amountDeposit, byte[] transactionId,
                                        out int amountRest, [In, Out] byte[] message);
        internal delegate short Cash(short type, ref IntPtr coins, ref int nCoins, ref IntPtr notes, ref int nNotes,
                                     out uint amountRest, byte[] transactionId, [In, Out] byte[] message);
        internal delegate short Purge(uint number, ref IntPtr coins, ref int nCoins, ref IntPtr notes,
                                      ref int nNotes, out uint amountRest, byte[] transactionId,
                                      [In, Out] byte[] message);
        internal delegate short Count(ref IntPtr coins, ref int nCoins, ref IntPtr notes, ref int nNotes,
                                      [In, Out] byte[] message);
        internal delegate short LevelWarning(ref int warningType, [In, Out] byte[] typeString,
                                             [In, Out] byte[] denominationString, [In, Out] byte[] warningMessage,
                                             [In, Out] byte[] extInfo);
        internal delegate void Release(IntPtr array);
    }
}
