#pragma once

/** Marks what libpetrel-shared offers to the programs that link it. */
#define PETREL_API __attribute__((visibility("default")))
