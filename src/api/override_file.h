// "stitch.txt", by which a user forces the CPU backend.
#pragma once

namespace brantel {

/// True when the file in the current directory starts with a nonzero decimal integer of any length. Closes the process's
/// standard input, once per process, whether or not the file exists: a fixed habit of the library (quirk 1).
bool overrideFileForcesCpu();

}  // namespace brantel
