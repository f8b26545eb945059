#pragma once
// SIGINT and SIGTERM during a command-line run: the run stops as after its Stop button and
// still prints its results. The handler only sets a flag; the main thread polls it.
#include <functional>

namespace StopSignals {

// Installs the handlers; after the first signal `stop` runs on the main thread (from its
// event loop) until it returns true (false: nothing to stop yet, try again shortly). A second
// signal ends the process at once, as a person pressing Ctrl-C twice means.
void install(std::function<bool()> stop);

} // namespace StopSignals
