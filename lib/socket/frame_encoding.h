#pragma once

#include <string>

#include "radar_objects/radar_objects.pb.h"

namespace Radar {

/**
 * Returns the protobuf encoding of `frame`. Fields that the schema does not know are kept; a float
 * that equals zero is omitted, -0.0 included, which newer protobuf runtimes would write. Any
 * thread, as long as nobody changes the frame meanwhile.
 *
 * @throws std::bad_alloc when there is no memory for the encoding.
 */
std::string encode(RO::RadarObjects const& frame);

}  // namespace Radar
