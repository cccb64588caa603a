#pragma once

#include <cstdint>
#include <random>
#include <vector>

#include "kit/frames/source.h"

namespace Kit {

/**
 * A synthetic scene that never ends: people and vehicles cross the radar's field of view on
 * straight tracks between reflectors that stand still, seen with noise, missed detections and false
 * alarms. Ranges reach 60 m, angles 1 rad to either side. The same seed, frame rate and limit give
 * the same frames, bit for bit, on every machine. One thread at a time.
 */
class Scene : public FrameSource {
public:
    /** The time of the first frame in us: 1 January 2025, 00:00 UTC. */
    static constexpr uint64_t kEpoch = 1735689600000000;

    /**
     * @param seed which scene.
     * @param frame_rate in Hz, above 0 and up to 1 000 000; gives the step of the timestamps.
     * @param max_targets largest number of targets in a frame, which also scales the scene: an
     *        average frame has about half as many. With 0 every frame is empty.
     * @throws InputError when a number is out of range.
     */
    explicit Scene(uint32_t seed, double frame_rate = 30, int max_targets = 64);

    /** Always true. */
    bool next(RO::RadarObjects& frame) override;
    void rewind() override;

private:
    /** What kind of body moves, and how it is seen. */
    struct Kind;
    static const Kind kPerson;
    static const Kind kVehicle;

    /** A body on its track: place and speed of its centre, x to the right and y ahead (m, m/s). */
    struct Body {
        Kind const* kind;
        double x, y;
        double x_speed, y_speed;
    };
    /** A thing that stands still. */
    struct Reflector {
        double x, y;
        double rcs;
    };

    uint32_t seed_;
    double frame_rate_;
    int max_targets_;
    std::mt19937 engine_;  // the standard defines its numbers, unlike those of the distributions
    uint64_t frame_number_ = 0;
    std::vector<Body> bodies_;
    std::vector<Reflector> reflectors_;

    double uniform(double low, double high);
    double noise(double deviation);
    void place(double& x, double& y, double range);
    void enter(Body& body);
    void move(Body& body);
    void see_body(Body const& body, RO::RadarObjects& frame);
    void see_point(double x, double y, double range_rate, double rcs, RO::RadarObjects& frame);
    void see_false_alarm(RO::RadarObjects& frame);
    void add_target(double rcs, double r, double rdot, double theta, double snr,
                    RO::RadarObjects& frame) const;
};

}  // namespace Kit
