// Scans that leave the canvas: what a frame costs while the mosaic grows.
#pragma once

#include "compare/outcome.h"

namespace brantel::bench {

/// A camera that goes on in one direction, or stays inside the first canvas.
struct Course {
    const char* name;
    std::int32_t x;  // -1, 0 or 1
    std::int32_t y;
    bool inside() const { return x == 0 && y == 0; }
};

/// Inside the first canvas (a serpentine, the yardstick), left, right, up, down and along both diagonals.
std::vector<Course> courses();

/// So many frames of the size along a course; the outcome has the milliseconds of every merged frame.
Outcome runCourse(const ScanSetup& setup, const std::string& library, const Course& course, int frames);

/// What the system takes to provide so much memory page by page, on one thread: allMs of the outcome.
Outcome touchFreshPages(double mebibytes);

}  // namespace brantel::bench
