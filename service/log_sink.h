#pragma once

#include <string>

namespace Service {

/** Logs what is due of messages that were held back. To be called now and then. */
void log_due_repeats();

/** Logs how often messages came that were held back. To be called before the program ends. */
void log_held_back_messages();

/** Writes a line to standard error if that takes it at once. */
void write_error_line(std::string const& line);

}  // namespace Service
