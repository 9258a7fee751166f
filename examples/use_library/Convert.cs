// Lists the targets of a package and converts it: Convert.exe PROFILE OUT.orv
//
// Build it by the compiler that comes with Windows, and put it beside OrvCasConv.dll:
//     C:\Windows\Microsoft.NET\Framework64\v4.0.30319\csc.exe /platform:x64 Convert.cs
// Run it elevated, or let the variable ORVCASCONV_MACHINE name a machine description. Otherwise the
// library cannot load the captured hive, and ends the process.
using System;
using System.IO;
using System.Runtime.InteropServices;

internal static class Convert
{
    private const uint NoMoreItems = 259;
    private const int GuidBytes = 16;

    // Called at each step. The root of the tree of progress lies at `root`, during the call alone.
    // The result is ignored.
    [UnmanagedFunctionPointer(CallingConvention.Cdecl)]
    private delegate uint Progress(IntPtr root);

    // No log here: its texts would come from the string table of this program, which has none.
    [DllImport("OrvCasConv.dll", CharSet = CharSet.Unicode, ExactSpelling = true,
               CallingConvention = CallingConvention.Cdecl)]
    private static extern uint CasToOrvW(string casFile, string orvFile, string logFile,
                                         out IntPtr targets, out uint targetCount,
                                         Progress progress);

    [DllImport("OrvCasConv.dll", CharSet = CharSet.Unicode, ExactSpelling = true,
               CallingConvention = CallingConvention.Cdecl)]
    private static extern uint InitCasTargetInformation(string casFile, out IntPtr handle);

    // Both texts stay the library's: nothing frees them. So they are no strings here, which the
    // runtime would free.
    [DllImport("OrvCasConv.dll", ExactSpelling = true,
               CallingConvention = CallingConvention.Cdecl)]
    private static extern uint GetNextCasTargetInformation(IntPtr handle, out IntPtr guidText,
                                                           out IntPtr name);

    [DllImport("OrvCasConv.dll", ExactSpelling = true,
               CallingConvention = CallingConvention.Cdecl)]
    private static extern uint ReleaseCasTargetInformation(IntPtr handle);

    private static uint List(string profile)
    {
        IntPtr handle;
        uint status = InitCasTargetInformation(profile, out handle);
        if (status != 0)
        {
            return status;
        }
        IntPtr guid;
        IntPtr name;
        while ((status = GetNextCasTargetInformation(handle, out guid, out name)) == 0)
        {
            // A target without a name gives a null pointer, and that an empty text.
            Console.WriteLine("{0}\t{1}", Marshal.PtrToStringUni(guid),
                              Marshal.PtrToStringUni(name));
        }
        ReleaseCasTargetInformation(handle);
        return status == NoMoreItems ? 0 : status;
    }

    private static uint Run(string profile, string output)
    {
        uint steps = 0;
        Progress count = root => ++steps;
        IntPtr targets;
        uint targetCount;
        uint status = CasToOrvW(profile, output, null, out targets, out targetCount, count);
        GC.KeepAlive(count);  // the library knows it by its address
        for (int i = 0; i < targetCount; ++i)
        {
            Guid guid = (Guid)Marshal.PtrToStructure(IntPtr.Add(targets, i * GuidBytes),
                                                     typeof(Guid));
            string name = guid.ToString("B").ToUpperInvariant();
            Console.WriteLine(Path.Combine(Path.GetDirectoryName(output), name,
                                           Path.GetFileName(output)));
        }
        Marshal.FreeCoTaskMem(targets);
        Console.WriteLine("{0} steps", steps);
        return status;
    }

    private static int Main(string[] arguments)
    {
        if (arguments.Length != 2)
        {
            Console.Error.WriteLine("usage: Convert PROFILE OUT.orv");
            return 2;
        }
        // The library takes full paths with backslashes.
        string profile = Path.GetFullPath(arguments[0]);
        uint status = List(profile);
        if (status == 0)
        {
            status = Run(profile, Path.GetFullPath(arguments[1]));
        }
        if (status != 0)
        {
            Console.Error.WriteLine("status {0}", status);
        }
        return status == 0 ? 0 : 1;
    }
}
