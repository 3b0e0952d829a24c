// Counts what a test program allocates: linking it replaces the global operator new.
#pragma once

// Allocations with operator new since the program began, of all threads.
long Allocations();
