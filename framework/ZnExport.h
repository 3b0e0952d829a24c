// Marks the exported symbols of a shared library; all others are hidden.
#pragma once

#define ZN_API __attribute__((visibility("default")))
