#pragma once

namespace Tools {

/**
 * Prepares the process: descriptors 0 to 2 are open, a reader of standard output that goes is an
 * error and no signal, and the first SIGINT, SIGTERM or SIGHUP only makes was_interrupted() true
 * and interrupts system calls; a second one ends the process. A signal that is ignored from the
 * start stays ignored.
 */
void prepare_process();

/** Whether the user asked for the end: the work ends with what was done so far. */
bool was_interrupted() noexcept;

/**
 * From now on the signals of a terminal interrupt system calls: a change of the window's size, and
 * Ctrl-Z, after which wants_suspension() is true once.
 */
void watch_terminal_signals();
bool wants_suspension() noexcept;

/** Stops the process until it is continued, as Ctrl-Z does. */
void suspend();

}  // namespace Tools
