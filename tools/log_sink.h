#pragma once

/**
 * From now on the library's messages are printed. Those before are dropped: while the library is
 * loaded it reads the settings of a service, which is no business of this program's verbs.
 */
void begin_to_log() noexcept;
