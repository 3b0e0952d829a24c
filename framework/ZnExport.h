// Marks what a shared library of the framework shows to others; all else stays hidden.
#pragma once

#define ZN_API __attribute__((visibility("default")))
