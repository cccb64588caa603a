#pragma once

namespace Service {

/** Logs how often messages came that were held back. To be called before the program ends. */
void log_held_back_messages();

}  // namespace Service
