#pragma once

namespace Tools {

/** The size of a terminal's window, in characters. */
struct WindowSize {
    int columns = 80;
    int rows = 24;
};

/** The size of the window of the terminal `fd`; 80 times 24 when it does not tell. */
WindowSize window_size(int fd) noexcept;

/** Whether colours may be sent to `fd`: it is a terminal that can do it, and NO_COLOR is not set.
 */
bool takes_colour(int fd) noexcept;

/** Whether a picture may be drawn on `fd`: a terminal that can do it, which is this process's now.
 */
bool takes_pictures(int fd) noexcept;

}  // namespace Tools
