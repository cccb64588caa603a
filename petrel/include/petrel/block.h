#pragma once

#include <sys/types.h>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include "petrel/export.h"

/**
 * The part of the Petrel application framework that a radar service needs: a stand-in for machines
 * that do not have the framework itself. A device that has it links that in this one's place.
 */
namespace Petrel {

/** The readiness of a descriptor. */
struct FDEvent {
    /** A set of events, as the bits of poll(2): 1 (POLLIN) is the readable event. */
    class EventMask {
    public:
        // NOLINTNEXTLINE(google-explicit-constructor): a mask is its bits
        EventMask(uint16_t bits) : bits_(bits) {}

        /** The bits of the mask. */
        uint16_t bits() const { return bits_; }

    private:
        uint16_t bits_;
    };
};

static_assert(sizeof(FDEvent::EventMask) == 2, "an event mask is passed as two bytes");

/**
 * One descriptor that a Block watches. Created and owned by the block; lives as long as the block.
 * Does not own the descriptor. To be used from the thread that runs the block's cycle.
 */
class PETREL_API FDPort {
public:
    virtual ~FDPort();

    /**
     * Returns non-zero when the descriptor was seen ready in the block's current cycle, that is in
     * the last Block::poll(); the answer stays the same until the next one. Zero before the first.
     */
    virtual int triggered();

    FDPort(FDPort const&) = delete;
    FDPort& operator=(FDPort const&) = delete;

private:
    friend class Block;
    FDPort(std::string name, int fd, FDEvent::EventMask events);

    std::string name_;
    int fd_;
    FDEvent::EventMask events_;
    bool triggered_;
};

/**
 * A processing block: a named set of descriptors and the cycle that waits for them. Owns its ports,
 * not their descriptors: a descriptor that is closed while its port is registered is detected in
 * the next cycle and no longer watched, unless its number belongs to another file by then. One
 * thread at a time. Neither copied nor moved.
 */
class PETREL_API Block {
public:
    /** A block without ports. `name` appears in nothing but name(). */
    explicit Block(std::string name);
    ~Block();
    Block(Block const&) = delete;
    Block& operator=(Block const&) = delete;

    /** The name given at construction. */
    std::string const& name() const;

    /**
     * Registers a descriptor for `events` and returns its port, which the block owns. A negative
     * `fd` is accepted and never fires. A port cannot be unregistered.
     */
    FDPort* make_fdport(std::string const& name, int fd, FDEvent::EventMask events);

    /**
     * Runs one cycle: waits until a registered descriptor is ready, then refreshes what every port
     * answers. An error or a hang-up of a descriptor counts as ready, since reading it does not
     * block.
     *
     * @param timeout_ms longest wait in milliseconds; 0 does not wait, a negative value waits
     *        without limit.
     * @return the number of ports that fired, 0 when the time ran out; -1 with `errno` set when the
     *         wait failed (EINTR after a signal): then no port answers as triggered.
     */
    int poll(int timeout_ms);

private:
    std::string name_;
    std::vector<std::unique_ptr<FDPort>> ports_;
};

}  // namespace Petrel
