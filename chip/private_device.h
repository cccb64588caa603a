#pragma once

#include "kit/base/error.h"
#include "kit/base/file_descriptor.h"

namespace Chip {

/** Where the device is, in the namespace. */
constexpr char kDevicePath[] = "/dev/spidev0.0";

/** This machine cannot do what the simulated chip needs; what() is one line with the reason. */
class Unavailable : public Kit::Error {
public:
    using Kit::Error::Error;
};

/** What mount_private_device() has made. */
struct PrivateDevice {
    /** Descriptor of the FUSE file system; non-blocking, and closed in programs that are started.
     */
    Kit::FileDescriptor fuse;
    /** Whether the process is in a user namespace of its own, too. */
    bool user_namespace = false;
};

/**
 * Moves this process to a mount namespace of its own, with a private "/dev" that shows the
 * machine's devices and, as "/dev/spidev0.0", a FUSE file system of one file that waits to be
 * served.
 *
 * An ordinary user gets a user namespace too, with his own user and group in it; a program that is
 * started has no more rights than he had. The machine's mounts and devices stay as they are, and
 * the namespace ends with the last process in it. To be called once, before the process has
 * threads.
 *
 * @throws Unavailable when there is no FUSE, or no namespace is granted.
 */
PrivateDevice mount_private_device();

}  // namespace Chip
