/* A communication library whose device does at once what it is told, so that a measurement sees the library
 * and nothing else. */
#pragma once

extern "C" {
typedef int (*BenchCallback)(const char* message);

/// The function that takes the device's messages; null before the link was opened.
BenchCallback bench_callback();
}
