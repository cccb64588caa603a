#pragma once

/** Marks what libpetrelradar-shared offers to the programs that link it. */
#define PETRELRADAR_API __attribute__((visibility("default")))
