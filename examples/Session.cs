// A session in C#: joins the frames given as PGM files (P5, 8 bits) and writes the picture to map.pgm.
// Build: mcs Session.cs BrantelSession.cs, or put both files into a project.
using System;
using System.IO;
using System.Text;
using Brantel;

static class Example {
    // The pixels of a file; null when it is none of the kind.
    static byte[] Load(string name, out int columns, out int rows) {
        columns = rows = 0;
        byte[] file = File.ReadAllBytes(name);
        var words = new string[4];
        int at = 0;
        for (int i = 0; i < 4; ++i, ++at)  // one white space after each
            for (words[i] = ""; at < file.Length && file[at] > ' '; ++at) words[i] += (char)file[at];
        if (words[0] != "P5" || words[3] != "255" || !int.TryParse(words[1], out columns) ||
            !int.TryParse(words[2], out rows) || columns < 1 || rows < 1 || (long)columns * rows > file.Length - at)
            return null;
        var pixels = new byte[columns * rows];
        Array.Copy(file, at, pixels, 0, pixels.Length);
        return pixels;
    }

    static void Save(Session session) {
        Map map = session.Map(1);
        using (var file = File.Create("map.pgm")) {
            byte[] header = Encoding.ASCII.GetBytes("P5 " + map.Width + " " + map.Height + " 255\n");
            file.Write(header, 0, header.Length);
            byte[] pixels = session.Read(1, map.X, map.Y, map.Width, map.Height);
            file.Write(pixels, 0, pixels.Length);
        }
    }

    static void Main(string[] names) {
        int columns = 0, rows = 0;
        if (names.Length > 0) Load(names[0], out columns, out rows);  // all frames are to have this size
        using (var session = new Session(Session.DefaultSettings(columns, rows, 1))) {
            foreach (string name in names) {
                int width, height;
                byte[] pixels = Load(name, out width, out height);
                if (pixels == null || width != columns || height != rows) {
                    Console.WriteLine(name + ": not used");
                    continue;
                }
                Answer answer = session.Add(pixels);
                Console.WriteLine("{0}: {1} at {2}, {3}", name, Session.Text(answer.State), answer.X, answer.Y);
            }
            Save(session);
        }
    }
}
