#pragma once

#include <string>

#include "radar_objects/radar_objects.pb.h"

namespace Radar {

/**
 * Returns the protobuf encoding of `frame`. Fields that the schema does not know are kept; a float
 * that equals zero is omitted, -0.0 included, which newer protobuf runtimes would write. Several
 * threads may encode one frame at once while none changes it.
 *
 * @throws std::bad_alloc when memory for the encoding runs out.
 */
std::string encode(RO::RadarObjects const& frame);

}  // namespace Radar
