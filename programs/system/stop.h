// The wish of somebody outside that the program should come to an end.
#pragma once

namespace brantel::programs {

/// From now on Ctrl-C, a request to terminate and the loss of the terminal are remembered instead of ending
/// the program at once. A second Ctrl-C ends it. Writing to a pipe that nobody reads and to a file beyond the
/// allowed size become errors of the write.
void catchStopSignals();

bool stopRequested();

/// What has asked for the end, for instance "Ctrl-C"; "" when nothing has.
const char* stopCause();

}  // namespace brantel::programs
