// The binding for C#: results, refusals, and what the host's own code throws.
using System;
using System.Collections.Generic;
using System.Runtime.InteropServices;
using Brantel;

static class SessionTests {
    const int columns = 240, rows = 180, width = 600, height = 400;
    static readonly byte[] picture = Paint();
    static int failures = 0;

    // Blotches of several sizes, which no two places have alike.
    static byte[] Paint() {
        var sums = new double[width * height];
        var random = new Random(7);
        for (int size = 1; size <= 16; size *= 4) {
            var cells = new int[(width / size + 1) * (height / size + 1)];
            for (int i = 0; i < cells.Length; ++i) cells[i] = random.Next(256);
            for (int y = 0; y < height; ++y)
                for (int x = 0; x < width; ++x) sums[y * width + x] += cells[y / size * (width / size + 1) + x / size];
        }
        return Array.ConvertAll(sums, sum => (byte)(20 + sum * 0.27));
    }

    // A frame's rows packed, or as far apart as the picture's.
    static byte[] Cut(int left, int top) {
        var frame = new byte[columns * rows];
        for (int y = 0; y < rows; ++y) Array.Copy(picture, (top + y) * width + left, frame, y * columns, columns);
        return frame;
    }

    static Settings Defaults() { return Session.DefaultSettings(columns, rows, 1); }

    static void Expect(bool condition, string what) {
        if (condition) return;
        ++failures;
        Console.Error.WriteLine("failed: " + what);
    }

    static T Thrown<T>(Action action) where T : Exception {
        try { action(); } catch (T e) { return e; }
        Expect(false, "no " + typeof(T).Name);
        return null;
    }

    static void FramesArePlacedWhereTheyWereTaken() {
        using (var session = new Session(Defaults())) {
            session.Add(Cut(0, 0), new Input { Tag = 5 });
            Answer answer = session.Add(Cut(120, 100));
            Expect(answer.State == State.Placed && answer.X == 120 && answer.Y == 100 && answer.Frame == 1, "place");
            Expect(answer.ChangedWidth == columns && answer.ChangedHeight == rows, "changed part");
            Expect(session.FrameCount == 2 && session.MapCount == 1, "counts");
            Expect(session.Frame(0).Tag == 5 && session.Frame(1).Joins == 0, "entries");
            Map map = session.Map(1);
            Expect(map.Width == columns + 120 && map.Height == rows + 100 && map.Frames == 2, "map");
            byte[] read = session.Read(1, 10, 20, 7, 5);
            for (int y = 0; y < 5; ++y)
                for (int x = 0; x < 7; ++x) Expect(read[y * 7 + x] == picture[(20 + y) * width + 10 + x], "pixels");
            Expect(session.Read(1, 0, 0, columns / 4, rows / 4, 4).Length == columns * rows / 16, "reduction");
            session.BeginMap();
            Expect(session.Add(Cut(120, 100)).Map == 2, "second map");
        }
    }

    static void RowsMayLieApartAndBottomUp() {
        var pinned = GCHandle.Alloc(picture, GCHandleType.Pinned);
        try {
            IntPtr first = pinned.AddrOfPinnedObject();
            using (var session = new Session(Defaults())) {
                session.Add(first, new Input { Stride = width });
                Answer answer = session.Add(first + 100 * width + 120, new Input { Stride = width });
                Expect(answer.X == 120 && answer.Y == 100, "windows");
            }
            using (var session = new Session(Defaults())) {
                session.Add(first + (rows - 1) * width, new Input { Stride = -width });
                Expect(session.Read(1, 0, 0, 1, 1)[0] == picture[(rows - 1) * width], "bottom up");
            }
        } finally { pinned.Free(); }
    }

    static void RefusalsSayWhy() {
        var settings = Defaults();
        settings.Channels = 2;
        Expect(Thrown<BrantelException>(() => new Session(settings)).Status == Status.BadFrameSize, "channels");
        using (var session = new Session(Defaults())) {
            Thrown<ArgumentException>(() => session.Add(new byte[columns * rows - 1]));
            Thrown<ArgumentException>(() => session.Add(new byte[columns * rows], new Input { Stride = columns + 1 }));
            Thrown<ArgumentException>(() => session.Add(new byte[columns * rows], new Input { Stride = -columns }));
            var refused = Thrown<BrantelException>(() => session.Frame(0));
            Expect(refused.Status == Status.NoSuchFrame && refused.Message == Session.Text(Status.NoSuchFrame), "frame");
            Expect(Thrown<BrantelException>(() => session.Read(1, 0, 0, 0, 1)).Status == Status.NoSuchMap, "map");
            session.Add(Cut(0, 0));
            Expect(Thrown<BrantelException>(() => session.Read(1, 0, 0, -1, 1)).Status == Status.BadRectangle, "size");
            session.Dispose();
            Thrown<ObjectDisposedException>(() => session.Add(Cut(0, 0)));
        }
    }

    static void WhatALineFunctionThrowsArrivesAfterTheCall() {
        var lines = new List<string>();
        bool angry = false;
        using (var session = new Session(Defaults(), line => {
            lines.Add(line);
            if (angry) throw new FormatException();
        })) {
            session.Add(Cut(0, 0));
            GC.Collect();
            session.Add(Cut(120, 0));
            Expect(lines.Count > 0, "lines");
            angry = true;
            var thrown = Thrown<InvalidOperationException>(() => {
                session.Add(Cut(240, 0));
                session.Add(Cut(240, 100));
            });
            Expect(thrown.InnerException is FormatException, "what was thrown");
            angry = false;
            Expect(session.Add(Cut(120, 100)).Y == 100, "afterwards");
        }
    }

    static int Main() {
        FramesArePlacedWhereTheyWereTaken();
        RowsMayLieApartAndBottomUp();
        RefusalsSayWhy();
        WhatALineFunctionThrowsArrivesAfterTheCall();
        Expect(Session.Version.Length > 4 && Session.Text(State.Placed) == "placed", "texts");
        Expect(Session.Text(Reason.ShiftTooSmall) == "shift too small", "reason");
        Expect(Session.Text(FoundBy.ByCorners) != "unknown", "found by");
        return failures;
    }
}
