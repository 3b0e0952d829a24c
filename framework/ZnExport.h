// Marks the exported symbols of a shared library; all others are hidden.
#pragma once

// Put before a declaration that a library exports.
#define ZN_API __attribute__((visibility("default")))
