// Marks the functions that a shared library exports by name; nothing else leaves the library.
#pragma once

#if defined(_WIN32)
#define HALCYRA_EXPORT __declspec(dllexport)
#else
#define HALCYRA_EXPORT __attribute__((visibility("default")))
#endif
