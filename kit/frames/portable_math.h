#pragma once

namespace Kit {

/**
 * The functions below give the same bits on every machine, which the ones of the C library do not:
 * they are made of operations that IEEE 754 defines to the last bit.
 */

/** The angle in rad, from -pi/2 to pi/2, whose tangent is `tangent`; right to 1e-9. */
double arc_tangent(double tangent);

/** 10 log10 of `ratio`, which is positive, finite and not denormal; right to 1e-8. */
double decibels(double ratio);

}  // namespace Kit
