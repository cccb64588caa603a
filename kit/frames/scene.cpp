#include "kit/frames/scene.h"

#include <cfloat>
#include <cmath>

#include "kit/base/input_error.h"
#include "kit/encoding/frame_magic.h"
#include "kit/frames/portable_math.h"
#include "kit/recording/format.h"

// Every number of a frame is made of operations that IEEE 754 defines to the last bit, and random
// numbers are drawn in an order that the language defines: one in each full expression. The build
// keeps the compiler from fusing a multiplication and an addition in this file.

namespace Kit {

static_assert(FLT_EVAL_METHOD == 0, "an expression is as wide as its operands");

namespace {

constexpr double kNearest = 0.5;          // m
constexpr double kFarthest = 60;          // m
constexpr double kWidestTangent = 1.5;    // of the angle to either side
constexpr double kRangeNoise = 0.04;      // m
constexpr double kSpeedNoise = 0.08;      // m/s
constexpr double kAngleNoise = 0.008;     // rad
constexpr double kRcsNoise = 1.5;         // dB
constexpr double kDetectionShare = 0.95;  // of what is strong enough
constexpr double kSnrAtOneMetre = 72;     // dB, for an rcs of 0 dB
constexpr double kThreshold = 8;          // dB

double distance(double x, double y) {
    return std::sqrt(x * x + y * y);
}

bool in_view(double x, double y, double reach) {
    return y > 0 && std::fabs(x) <= kWidestTangent * y && distance(x, y) >= kNearest &&
           distance(x, y) <= reach;
}

}  // namespace

struct Scene::Kind {
    double reach;  // m, where a track begins and ends
    double slowest, fastest;
    double rcs;  // dB
    int points;
    double point_distance;  // m, along the track
};

const Scene::Kind Scene::kPerson = {25, 0.6, 2.2, -6, 1, 0};
const Scene::Kind Scene::kVehicle = {kFarthest, 3, 14, 9, 3, 1.4};

Scene::Scene(uint32_t seed, double frame_rate, int max_targets)
    : seed_(seed), frame_rate_(frame_rate), max_targets_(max_targets) {
    if (!(frame_rate_ > 0 && frame_rate_ <= 1e6)) {
        throw InputError("scene: the frame rate is not above 0 and up to 1000000 Hz");
    }
    if (max_targets_ < 0) throw InputError("scene: the number of targets is below 0");
    rewind();
}

void Scene::rewind() {
    engine_.seed(seed_);
    frame_number_ = 0;
    const int people = (max_targets_ + 3) / 4;
    const int vehicles = max_targets_ / 32;
    bodies_.clear();
    for (int i = 0; i < people + vehicles; ++i) {
        bodies_.push_back({i < people ? &kPerson : &kVehicle, 0, 0, 0, 0});
        enter(bodies_.back());
        // Somewhere along the track, so that the scene does not begin with an empty stage.
        const double seconds =
            uniform(0, bodies_.back().kind->reach / bodies_.back().kind->fastest);
        bodies_.back().x += seconds * bodies_.back().x_speed;
        bodies_.back().y += seconds * bodies_.back().y_speed;
    }
    reflectors_.assign(static_cast<size_t>(max_targets_ / 5), {});
    for (Reflector& reflector : reflectors_) {
        const double range = uniform(1, kFarthest);
        place(reflector.x, reflector.y, range);
        reflector.rcs = uniform(-5, 15);
    }
}

bool Scene::next(RO::RadarObjects& frame) {
    const double elapsed = static_cast<double>(frame_number_) * 1e6 / frame_rate_;
    frame.set_magic(kFrameMagic);
    frame.set_timestamp(kEpoch + static_cast<uint64_t>(elapsed + 0.5));
    frame.clear_targets();
    for (Body const& body : bodies_) see_body(body, frame);
    for (Reflector const& reflector : reflectors_) {
        see_point(reflector.x, reflector.y, 0, reflector.rcs, frame);
    }
    const double false_alarms = uniform(0, 3);
    for (int i = 1; i < false_alarms; ++i) see_false_alarm(frame);
    for (Body& body : bodies_) move(body);
    ++frame_number_;
    return true;
}

/** A number from `low` on and below `high`. */
double Scene::uniform(double low, double high) {
    const double share = static_cast<double>(engine_()) / 4294967296.0;
    return low + share * (high - low);
}

/** A number around 0, nearly normally distributed. */
double Scene::noise(double deviation) {
    constexpr double kSquareRootOf3 = 1.73205080756887729353;
    double sum = 0;
    for (int i = 0; i < 4; ++i) sum += uniform(-1, 1);
    return sum * (deviation * kSquareRootOf3 / 2);
}

/** Sets a place at a range, in some direction. */
void Scene::place(double& x, double& y, double range) {
    const double tangent = uniform(-kWidestTangent, kWidestTangent);
    y = range / distance(1, tangent);
    x = y * tangent;
}

/** Puts a body at the edge of the view, on a track through some place inside. */
void Scene::enter(Body& body) {
    Kind const& kind = *body.kind;
    place(body.x, body.y, kind.reach);
    double x = 0;
    double y = 0;
    const double range = uniform(2, kind.reach / 2);
    place(x, y, range);
    const double length = distance(x - body.x, y - body.y);
    const double speed = uniform(kind.slowest, kind.fastest);
    body.x_speed = speed * (x - body.x) / length;
    body.y_speed = speed * (y - body.y) / length;
}

void Scene::move(Body& body) {
    body.x += body.x_speed / frame_rate_;
    body.y += body.y_speed / frame_rate_;
    if (!in_view(body.x, body.y, body.kind->reach + 1)) enter(body);
}

void Scene::see_body(Body const& body, RO::RadarObjects& frame) {
    const double speed = distance(body.x_speed, body.y_speed);
    for (int i = 0; i < body.kind->points; ++i) {
        const double along =
            (i - (body.kind->points - 1) / 2.0) * body.kind->point_distance / speed;
        const double x = body.x + along * body.x_speed;
        const double y = body.y + along * body.y_speed;
        if (!in_view(x, y, kFarthest)) continue;
        const double range_rate = (x * body.x_speed + y * body.y_speed) / distance(x, y);
        see_point(x, y, range_rate, body.kind->rcs, frame);
    }
}

/** Adds what the radar makes of a point that is there, when it detects it. */
void Scene::see_point(double x, double y, double range_rate, double rcs, RO::RadarObjects& frame) {
    const double range = distance(x, y);
    const double seen_rcs = rcs + noise(kRcsNoise);
    const double snr = kSnrAtOneMetre + seen_rcs - 4 * decibels(range);
    const double r = range + noise(kRangeNoise);
    const double rdot = range_rate + noise(kSpeedNoise);
    const double theta = arc_tangent(x / y) + noise(kAngleNoise);
    const bool detected = uniform(0, 1) < kDetectionShare && snr >= kThreshold;
    if (detected) add_target(seen_rcs, r, rdot, theta, snr, frame);
}

void Scene::see_false_alarm(RO::RadarObjects& frame) {
    const double r = uniform(1, kFarthest);
    const double rdot = uniform(-15, 15);
    const double theta = arc_tangent(uniform(-kWidestTangent, kWidestTangent));
    const double snr = uniform(kThreshold, kThreshold + 4);
    add_target(snr - kSnrAtOneMetre + 4 * decibels(r), r, rdot, theta, snr, frame);
}

void Scene::add_target(double rcs, double r, double rdot, double theta, double snr,
                       RO::RadarObjects& frame) const {
    if (frame.targets_size() == max_targets_) return;
    RO::TargetData& target = *frame.add_targets();
    target.set_rcs(static_cast<float>(rcs));
    target.set_r(static_cast<float>(r));
    target.set_rdot(static_cast<float>(rdot));
    target.set_theta(static_cast<float>(theta));
    target.set_snr(static_cast<float>(snr));
}

}  // namespace Kit
