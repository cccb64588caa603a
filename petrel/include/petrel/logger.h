#pragma once

#include "petrel/export.h"

extern "C" {

/**
 * Logs one message. Safe to call from several threads at once; leaves `errno` unchanged.
 *
 * The default sink writes the message to standard error, whole lines at a time, each line with its
 * level in front: "[2] text". When standard error is connected to the system's journal
 * (JOURNAL_STREAM names it), the level goes in front as the journal's prefix instead: 1 as a
 * warning "<4>", 2 and above as an error "<3>", 0 and below as information "<6>". A message without
 * a newline at its end gets one. A program that defines a function of this name gets every message
 * in place of the default sink.
 *
 * A message that standard error does not accept is lost.
 *
 * @param level severity; higher is graver.
 * @param format a printf format for the arguments that follow.
 * @throws std::bad_alloc when memory for the text runs out.
 */
PETREL_API void logger(int level, const char* format, ...) __attribute__((format(printf, 2, 3)));
}
