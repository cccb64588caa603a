#pragma once

/** Marks what libpetrelradar-shared offers to the programs that link it. */
#define PETRELRADAR_API __attribute__((visibility("default")))

/** Marks a member of an offered class that only the library itself may use. */
#define PETRELRADAR_LOCAL __attribute__((visibility("hidden")))
