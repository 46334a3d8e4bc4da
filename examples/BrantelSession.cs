// The session interface of brantel/session.h for C#. Copy this file into a project and put BrantelSession.dll and
// libopencv_core460.dll (Linux: libBrantelSession.so) where it finds libraries. A 64-bit process is needed.
using System;
using System.Runtime.InteropServices;
using Microsoft.Win32.SafeHandles;

namespace Brantel {
    public enum Status {
        Ok, NullArgument, BadStructSize, BadFrameSize, BadStride, BadSetting, BadPosition, NoSuchFrame, NoSuchMap,
        BadRectangle, BadReduction, NoMemory, NoThreads, InUse, Forked, TooLarge, InternalError
    }
    public enum State { Placed = 1, Skipped, Waiting, Refused }
    public enum Reason {
        NoReason, ShiftTooSmall, ShiftTooLarge, TooFewCorners, TooFewMatches, Brightness, Motion, NothingJoins,
        NoRoomToWait, MapEnded
    }
    public enum FoundBy { NotFound, ByFirst, ByCorners, ByCorrelation, ByPosition }
    public enum Acceptance { ByBrightness, ByMotion }
    [Flags]
    public enum Changes {
        EarlierPlaced = 1, EarlierRefused = 2, MapsJoined = 4, MemoryMoved = 8, PositionContradicted = 16
    }

    // What the fields mean, and their units and ranges, stands in session.h. Flags are 0 or 1.
    [StructLayout(LayoutKind.Sequential)]
    public struct Settings {
        internal uint Size;
        public int Columns, Rows, Channels;
        public long Stride;
        public int DensityLevel;
        public Acceptance Acceptance;
        public int Strict, Correlation, TrustCorrelation, SmallOverlaps, EarlierFrames, WaitingFrames, JoinMaps,
            TrustPositions;
        public long Memory;
        internal IntPtr OnLine, User;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct Input {
        internal uint Size;
        public int HasPosition;
        public long Stride, Tag;
        public double X, Y, Uncertainty;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct Frame {
        internal uint Size;
        public State State;
        public Reason Reason;
        public FoundBy FoundBy;
        public int Map, X, Y, Matches;
        public double Confidence;
        public long Tag, Joins;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct Answer {
        internal uint Size;
        public Changes Changes;
        public long Frame;
        public State State;
        public Reason Reason;
        public FoundBy FoundBy;
        public int Map, X, Y, Matches, PlacedNow;
        public double Confidence;
        public int ChangedX, ChangedY, ChangedWidth, ChangedHeight;
    }

    [StructLayout(LayoutKind.Sequential)]
    public struct Map {
        internal uint Size;
        public int JoinedInto, JoinedX, JoinedY, X, Y, Width, Height;
        public long Frames;
        public int CanvasColumns, CanvasRows;
    }

    public sealed class BrantelException : Exception {
        public readonly Status Status;
        public BrantelException(Status status, string text) : base(text) { Status = status; }
    }

    /// Live mosaicking of frames of one kind; to be used by one thread at a time.
    public sealed class Session : IDisposable {
        readonly Handle handle;
        readonly Settings settings;
        readonly LineFunction hear;  // held here: the library keeps the pointer only
        Exception heard;

        public static Settings DefaultSettings(int columns, int rows, int channels) {
            var settings = new Settings { Size = SizeOf<Settings>() };
            Check(brantel_default_settings(ref settings), null);
            settings.Columns = columns;
            settings.Rows = rows;
            settings.Channels = channels;
            return settings;
        }

        /// onLine receives lines for diagnosis; what it throws is thrown again once the call is over.
        public Session(Settings given, Action<string> onLine = null) {
            settings = given;
            if (onLine != null) {
                hear = (user, line) => {
                    try { if (heard == null) onLine(Marshal.PtrToStringAnsi(line)); } catch (Exception e) { heard = e; }
                };
                settings.OnLine = Marshal.GetFunctionPointerForDelegate(hear);
            }
            Call(brantel_session_open(ref settings, out handle));
        }

        public void Dispose() { handle.Dispose(); }

        /// Adds a frame that the array holds from its beginning. A frame that was not placed is no error.
        public Answer Add(byte[] pixels, Input input = default(Input)) {
            long row = (long)settings.Columns * settings.Channels;
            long stride = input.Stride != 0 ? input.Stride : settings.Stride != 0 ? settings.Stride : row;
            if (stride < row || pixels.LongLength - row < (settings.Rows - 1) * stride)
                throw new ArgumentException("the array is shorter than a frame");
            var pinned = GCHandle.Alloc(pixels, GCHandleType.Pinned);
            try { return Add(pinned.AddrOfPinnedObject(), input); } finally { pinned.Free(); }
        }

        /// The same for memory of a camera's: the first row's address. A negative stride is for pictures bottom up.
        public Answer Add(IntPtr pixels, Input input = default(Input)) {
            var answer = new Answer { Size = SizeOf<Answer>() };
            input.Size = SizeOf<Input>();
            Call(brantel_session_add(handle, pixels, ref input, ref answer));
            return answer;
        }

        public void BeginMap() { Call(brantel_session_begin_map(handle)); }

        public long FrameCount { get { return brantel_session_frame_count(handle); } }
        public int MapCount { get { return brantel_session_map_count(handle); } }

        public Frame Frame(long index) {
            var frame = new Frame { Size = SizeOf<Frame>() };
            Call(brantel_session_frame(handle, index, ref frame));
            return frame;
        }

        public Map Map(int number) {
            var map = new Map { Size = SizeOf<Map>() };
            Call(brantel_session_map(handle, number, ref map));
            return map;
        }

        /// Rows of packed samples; width and height are the result's.
        public byte[] Read(int number, int x, int y, int width, int height, int reduction = 1) {
            var pixels = new byte[(long)Math.Max(width, 0) * Math.Max(height, 0) * settings.Channels];
            Call(brantel_session_read(handle, number, x, y, width, height, reduction, pixels, 0));
            return pixels;
        }

        public static string Version { get { return Marshal.PtrToStringAnsi(brantel_version()); } }
        public static string Text(Status status) { return Marshal.PtrToStringAnsi(brantel_status_text(status)); }
        public static string Text(State state) { return Marshal.PtrToStringAnsi(brantel_state_text(state)); }
        public static string Text(Reason reason) { return Marshal.PtrToStringAnsi(brantel_reason_text(reason)); }
        public static string Text(FoundBy by) { return Marshal.PtrToStringAnsi(brantel_found_by_text(by)); }

        static uint SizeOf<T>() { return (uint)Marshal.SizeOf(typeof(T)); }

        void Call(Status status) {
            var thrown = heard;
            heard = null;
            Check(status, handle);
            if (thrown != null) throw new InvalidOperationException("onLine has thrown", thrown);
        }

        // A session in use keeps its text for the call that runs.
        static void Check(Status status, Handle handle) {
            if (status == Status.Ok) return;
            bool spoken = handle != null && !handle.IsInvalid && status != Status.InUse;
            string text = spoken ? Marshal.PtrToStringAnsi(brantel_session_error(handle)) : Text(status);
            throw new BrantelException(status, text);
        }

        sealed class Handle : SafeHandleZeroOrMinusOneIsInvalid {
            public Handle() : base(true) {}
            protected override bool ReleaseHandle() { brantel_session_close(handle); return true; }
        }

        const string dll = "BrantelSession";
        const CallingConvention c = CallingConvention.Cdecl;
        [UnmanagedFunctionPointer(c)] delegate void LineFunction(IntPtr user, IntPtr line);
        [DllImport(dll, CallingConvention = c)] static extern IntPtr brantel_version();
        [DllImport(dll, CallingConvention = c)] static extern IntPtr brantel_status_text(Status status);
        [DllImport(dll, CallingConvention = c)] static extern IntPtr brantel_state_text(State state);
        [DllImport(dll, CallingConvention = c)] static extern IntPtr brantel_reason_text(Reason reason);
        [DllImport(dll, CallingConvention = c)] static extern IntPtr brantel_found_by_text(FoundBy foundBy);
        [DllImport(dll, CallingConvention = c)] static extern Status brantel_default_settings(ref Settings settings);
        [DllImport(dll, CallingConvention = c)]
        static extern Status brantel_session_open(ref Settings settings, out Handle session);
        [DllImport(dll, CallingConvention = c)] static extern void brantel_session_close(IntPtr session);
        [DllImport(dll, CallingConvention = c)]
        static extern Status brantel_session_add(Handle session, IntPtr pixels, ref Input input, ref Answer answer);
        [DllImport(dll, CallingConvention = c)] static extern Status brantel_session_begin_map(Handle session);
        [DllImport(dll, CallingConvention = c)] static extern long brantel_session_frame_count(Handle session);
        [DllImport(dll, CallingConvention = c)] static extern int brantel_session_map_count(Handle session);
        [DllImport(dll, CallingConvention = c)]
        static extern Status brantel_session_frame(Handle session, long index, ref Frame frame);
        [DllImport(dll, CallingConvention = c)]
        static extern Status brantel_session_map(Handle session, int number, ref Map map);
        [DllImport(dll, CallingConvention = c)]
        static extern Status brantel_session_read(Handle session, int number, int x, int y, int width, int height,
                                                  int reduction, byte[] pixels, long stride);
        [DllImport(dll, CallingConvention = c)] static extern IntPtr brantel_session_error(Handle session);
    }
}
