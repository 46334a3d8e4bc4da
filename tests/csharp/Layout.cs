// Prints a program in C that compiles only if the structs and enums of BrantelSession.cs are those of brantel/session.h.
using System;
using System.Linq;
using System.Reflection;
using System.Runtime.InteropServices;
using System.Text.RegularExpressions;
using Brantel;

static class Layout {
    // "DensityLevel" is density_level in C.
    static string InC(string name) { return Regex.Replace(name, "(?<=.)([A-Z])", "_$1").ToLower(); }

    static void Require(string condition) { Console.WriteLine("_Static_assert(" + condition + ", \"differs\");"); }

    static void Struct(Type type) {
        string name = "brantel_" + InC(type.Name);
        Require("sizeof(" + name + ") == " + Marshal.SizeOf(type));
        foreach (FieldInfo field in type.GetFields(BindingFlags.Instance | BindingFlags.Public | BindingFlags.NonPublic)) {
            string member = InC(field.Name);
            Type kind = field.FieldType.IsEnum ? Enum.GetUnderlyingType(field.FieldType) : field.FieldType;
            Require("offsetof(" + name + ", " + member + ") == " + Marshal.OffsetOf(type, field.Name));
            Require("sizeof(((" + name + "*)0)->" + member + ") == " + Marshal.SizeOf(kind));
        }
    }

    static void Enumeration(Type type, string prefix) {
        foreach (object value in Enum.GetValues(type))
            Require(prefix + InC(value.ToString()).ToUpper() + " == " + (int)value);
    }

    static void Main() {
        Console.WriteLine("#include <brantel/session.h>\n#include <stddef.h>");
        foreach (Type type in new[] { typeof(Settings), typeof(Input), typeof(Frame), typeof(Answer), typeof(Map) })
            Struct(type);
        foreach (Type type in new[] { typeof(Status), typeof(State), typeof(Reason), typeof(FoundBy), typeof(Changes) })
            Enumeration(type, "BRANTEL_");
        Enumeration(typeof(Acceptance), "BRANTEL_ACCEPT_");
    }
}
