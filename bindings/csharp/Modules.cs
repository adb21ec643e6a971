using System;
using System.IO;
using System.Runtime.InteropServices;
using System.Text;

namespace Tllogics
{
    /// <summary>The operating system's loader, which netstandard2.0 has no class for.</summary>
    internal static class Modules
    {
        private static readonly bool windows = Environment.OSVersion.Platform == PlatformID.Win32NT;

        internal static string FileName
        {
            get { return windows ? "tllogics.dll" : "libtllogics.so.1"; }
        }

        /// <summary>Where a package has the file, below the assembly.</summary>
        internal static string PackageFolder
        {
            get { return Path.Combine("runtimes", windows ? "win-x64" : "linux-x64", "native"); }
        }

        /// <summary>The module, or zero and the reason. A bare name is for the system to search.</summary>
        internal static IntPtr Open(string file, out string reason)
        {
            IntPtr module;
            if (windows)
            {
                const uint alteredSearchPath = 8;
                module = Kernel32.LoadLibraryExW(file, IntPtr.Zero, Path.IsPathRooted(file) ? alteredSearchPath : 0);
                reason = module != IntPtr.Zero
                    ? null : Marshal.GetExceptionForHR(Marshal.GetHRForLastWin32Error()).Message;
                return module;
            }
            const int now = 2;
            byte[] name = Encoding.UTF8.GetBytes(file + "\0");
            module = Posix.Apart ? LibDl.dlopen(name, now) : LibC.dlopen(name, now);
            reason = module != IntPtr.Zero
                ? null : Marshal.PtrToStringAnsi(Posix.Apart ? LibDl.dlerror() : LibC.dlerror());
            return module;
        }

        /// <summary>A function of the module, or zero.</summary>
        internal static IntPtr Find(IntPtr module, string name)
        {
            byte[] symbol = Encoding.ASCII.GetBytes(name + "\0");
            return windows ? Kernel32.GetProcAddress(module, symbol)
                : Posix.Apart ? LibDl.dlsym(module, symbol) : LibC.dlsym(module, symbol);
        }

        /// <summary>The free() that belongs to the library's malloc().</summary>
        internal static IntPtr FindFree()
        {
            const uint system32 = 0x800;
            // Zero is the process as a whole, which may have brought its own.
            return Find(windows ? Kernel32.LoadLibraryExW("msvcrt.dll", IntPtr.Zero, system32) : IntPtr.Zero, "free");
        }

        private static class Kernel32
        {
            [DllImport("kernel32.dll", CharSet = CharSet.Unicode, ExactSpelling = true, SetLastError = true)]
            internal static extern IntPtr LoadLibraryExW(string file, IntPtr reserved, uint flags);
            [DllImport("kernel32.dll", ExactSpelling = true, SetLastError = true)]
            internal static extern IntPtr GetProcAddress(IntPtr module, byte[] name);
        }

        private static class Posix
        {
            /// <summary>dlopen is in a library of its own: the C library has it since glibc 2.34 only.</summary>
            internal static readonly bool Apart = IsApart();

            private static bool IsApart()
            {
                try
                {
                    LibDl.dlerror();
                    return true;
                }
                catch (DllNotFoundException)
                {
                    return false;
                }
            }
        }

        private static class LibDl
        {
            [DllImport("libdl.so.2")]
            internal static extern IntPtr dlopen(byte[] file, int flags);
            [DllImport("libdl.so.2")]
            internal static extern IntPtr dlsym(IntPtr module, byte[] name);
            [DllImport("libdl.so.2")]
            internal static extern IntPtr dlerror();
        }

        private static class LibC
        {
            [DllImport("libc.so.6")]
            internal static extern IntPtr dlopen(byte[] file, int flags);
            [DllImport("libc.so.6")]
            internal static extern IntPtr dlsym(IntPtr module, byte[] name);
            [DllImport("libc.so.6")]
            internal static extern IntPtr dlerror();
        }
    }
}
