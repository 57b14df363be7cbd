#pragma once

// Marks what the library exports; everything else stays hidden in a shared build.
#define QV_EXPORT __attribute__((visibility("default")))
